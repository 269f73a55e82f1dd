#include "screens/title_words.h"

namespace zarn::screens {
namespace {

constexpr std::string_view kTitleWordsTable[] = {
    "login",       "logout",        "signin",       "signup",     "register",  "password",
    "forgot",      "verify",        "verification", "code",       "email",     "phone",
    "otp",         "home",          "back",         "next",       "menu",      "more",
    "search",      "filter",        "sort",         "settings",   "profile",   "account",
    "preferences", "notifications", "cart",         "checkout",   "payment",   "billing",
    "shipping",    "address",       "order",        "orders",     "purchase",  "buy",
    "subscribe",   "subscription",  "product",      "products",   "shop",      "store",
    "category",    "categories",    "feed",         "post",       "posts",     "comment",
    "comments",    "share",         "like",         "follow",     "following", "followers",
    "friends",     "messages",      "chat",         "inbox",      "saved",     "favorites",
    "bookmarks",   "discover",      "explore",      "details",    "detail",    "edit",
    "create",      "delete",        "remove",       "add",        "view",      "preview",
    "list",        "grid",          "info",         "about",      "help",      "support",
    "terms",       "privacy",       "policy",       "legal",      "faq",       "contact",
    "welcome",     "intro",         "start",        "getstarted", "tutorial",  "guide",
    "permissions", "permission",    "allow",        "enable",     "disable",   "item",
    "items",       "user",          "users",        "team",       "teams",     "project",
    "projects",    "task",          "tasks",        "event",      "events",    "page",
    "pages",       "report",        "reports",      "dashboard",  "stats",     "analytics",
    "history",     "save",          "send",         "submit",     "cancel",    "confirm",
    "done",        "finish",        "complete",     "review",     "rate",      "feedback",
    "главная",     "профиль",       "настройки",    "корзина",    "поиск",     "избранное",
    "уведомления", "сообщения",     "регистрация",  "вход",       "выход",     "лента"};

constexpr std::string_view kPlaceholderPhrasesTable[] = {
    "loading",  "saving",  "uploading", "downloading", "please wait",     "fetching", "refreshing",
    "untitled", "screen_", "no name",   "n/a",         "adding progress", "preparing"};

}  // namespace

constinit const Words kTitleWords = kTitleWordsTable;
constinit const Words kPlaceholderPhrases = kPlaceholderPhrasesTable;

}  // namespace zarn::screens
