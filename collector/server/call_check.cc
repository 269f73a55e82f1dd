#include "server/call_check.h"

#include <algorithm>
#include <span>

#include "server/base64.h"
#include "server/digest.h"
#include "server/json.h"
#include "server/object_check.h"
#include "server/screenshot_check.h"

namespace zarn::collector {
namespace {

constexpr KeyRule kResolveKeys[] = {
    {"project_id", Kind::filledText},
    {"api_key", Kind::filledText},
    {"zarn_click_id", Kind::text, Need::optional},
    {"clipboard_token", Kind::text, Need::optional},
};

constexpr KeyRule kValidateKeys[] = {
    {"project_id", Kind::filledText}, {"api_key", Kind::filledText},
    {"platform", Kind::filledText},   {"sdk_version", Kind::filledText},
    {"install_id", Kind::filledText}, {"device_id", Kind::filledText},
    {"bundle_id", Kind::text},        {"apple_receipt", Kind::filledText},
};

constexpr KeyRule kRegisterKeys[] = {
    {"project_id", Kind::filledText},
    {"api_key", Kind::filledText},
    {"device_id", Kind::filledText},
    {"user_id", Kind::filledText, Need::optional},
    {"token", Kind::filledText},
    {"platform", Kind::filledText},
    {"provider", Kind::filledText},
    {"app_id", Kind::filledText, Need::optional},
    {"release_id", Kind::filledText, Need::optional},
    {"bundle_id", Kind::text},
    {"environment", Kind::filledText},
    {"sdk_version", Kind::filledText},
};

struct Form {
  std::span<const KeyRule> keys;
  std::string_view secret;  // the key of what is not to be shown; may be empty
};

Form formOf(Endpoint endpoint) {
  if (endpoint == Endpoint::validate) return {kValidateKeys, "apple_receipt"};
  if (endpoint == Endpoint::registration) return {kRegisterKeys, "token"};
  if (endpoint == Endpoint::screenshotCheck) return {kScreenshotCheckKeys, kPictureKey};
  if (endpoint == Endpoint::screenshot) return {kScreenshotKeys, kPictureKey};
  return {kResolveKeys, {}};
}

// `picture` is the digest of a picture that could be read.
std::string shownOf(const rapidjson::Value& body, const Form& form, const std::string& picture) {
  JsonOut out;
  out.object();
  for (const auto& member : body.GetObject()) {
    const std::string_view key = textOf(member.name);
    const auto rule = std::find_if(form.keys.begin(), form.keys.end(),
                                   [&](const KeyRule& each) { return each.key == key; });
    const bool isKnown = rule != form.keys.end();
    const bool isText = member.value.IsString();
    if (key == kPictureKey && !picture.empty()) {
      out.field("image_sha256", picture);
    } else if (key == form.secret && isText) {
      out.field(std::string(key) + "_sha256", sha256Hex(textOf(member.value)));
    } else if (isText && (isKnown || form.secret.empty())) {
      out.field(key, textOf(member.value));
    } else if (isKnown && rule->kind == Kind::integer && member.value.IsInt64()) {
      out.field(key, member.value.GetInt64());
    } else {
      out.key(key).null();
    }
  }
  return out.end().take();
}

bool isHex(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// A UUID of the versions and the variant that click ids have.
bool isClickId(std::string_view text) {
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
    if (isDash ? text[i] != '-' : !isHex(text[i])) return false;
  }
  constexpr std::string_view versions = "12345", variants = "89abAB";
  return versions.find(text[14]) != std::string_view::npos &&
         variants.find(text[19]) != std::string_view::npos;
}

// "zn:...;exp=1893456000;znt=abc", the named fields in any place after the first.
bool isClipboardToken(std::string_view text) {
  if (!text.starts_with("zn:")) return false;
  bool hasExpiry = false, hasToken = false;
  while (true) {
    const std::string_view field = text.substr(0, text.find(';'));
    if (field.starts_with("exp=")) {
      const std::string_view digits = field.substr(4);
      hasExpiry = !digits.empty() && digits.find_first_not_of("0123456789.") == digits.npos;
    }
    hasToken = hasToken || (field.starts_with("znt=") && field.size() > 4);
    if (field.size() == text.size()) return hasExpiry && hasToken;
    text.remove_prefix(field.size() + 1);
  }
}

void checkResolve(ObjectCheck& check, CallFacts& facts) {
  facts.clickId = check.text("zarn_click_id");
  facts.clipboardToken = check.text("clipboard_token");
  if (check.find("zarn_click_id") != nullptr && !isClickId(facts.clickId)) {
    check.problem("zarn_click_id", "is no click id: " + quoted(facts.clickId));
  }
  if (check.find("clipboard_token") != nullptr && !isClipboardToken(facts.clipboardToken)) {
    check.problem("clipboard_token",
                  "must look like zn:...;exp=SECONDS;znt=...: " + quoted(facts.clipboardToken));
  }
  if (facts.clickId.empty() && facts.clipboardToken.empty()) {
    check.problem("zarn_click_id", "or clipboard_token must be there");
  }
}

}  // namespace

bool bringsSecrets(Endpoint endpoint) {
  return !formOf(endpoint).secret.empty();
}

std::string callAuthorizationProblem(Endpoint endpoint, std::string_view header) {
  if (endpoint != Endpoint::screenshot && endpoint != Endpoint::screenshotCheck) {
    return header.empty() ? "" : "the Authorization header does not belong to this request";
  }
  constexpr std::string_view scheme = "Bearer ";
  const bool isKey = header.starts_with(scheme) && header.size() > scheme.size() &&
                     header.find(' ', scheme.size()) == header.npos;
  return isKey ? "" : "the Authorization header must be \"Bearer\" and the key";
}

bool checkCall(Endpoint endpoint, std::string_view json, CallFacts& facts, std::string& error) {
  rapidjson::Document body;
  if (!parseJson(json, body, error)) return false;
  if (!body.IsObject()) {
    error = "the body must be a JSON object";
    return false;
  }
  const Form form = formOf(endpoint);
  CallerFacts& caller = facts.caller;
  ObjectCheck check(body, "", form.keys, caller.problems);
  caller.project = check.text("project_id");
  caller.environment = check.text("environment");
  caller.platform = check.text("platform");
  caller.sdkVersion = check.text("sdk_version");
  caller.bundleId = check.text("bundle_id");
  if (endpoint == Endpoint::resolve) checkResolve(check, facts);
  if (endpoint == Endpoint::validate && check.find("apple_receipt") != nullptr &&
      !decodedBase64(check.text("apple_receipt"))) {
    check.problem("apple_receipt", "is no base64");
  }
  const bool isUpload = endpoint == Endpoint::screenshot;
  if (isUpload || endpoint == Endpoint::screenshotCheck) {
    facts.refusal = readScreenshot(check, isUpload, facts.screenshot);
  }
  facts.shown = shownOf(body, form, facts.screenshot.sha256);
  const std::string provider = check.text("provider");
  if (!provider.empty() && provider != "apns" && provider != "firebase") {
    check.problem("provider", "must be apns or firebase: " + quoted(provider));
  }
  return true;
}

}  // namespace zarn::collector
