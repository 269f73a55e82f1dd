#include "screens/class_tables.h"

namespace zarn::screens {
namespace {

constexpr std::string_view kSystemControllerNamesTable[] = {"UINavigationController",
                                                            "UITabBarController",
                                                            "UIPageViewController",
                                                            "UISplitViewController",
                                                            "UIInputWindowController",
                                                            "UIAlertController",
                                                            "UICompatibilityInputViewController",
                                                            "UIEditingOverlayViewController",
                                                            "UISystemInputAssistantViewController",
                                                            "UIReferenceLibraryViewController",
                                                            "UIActivityViewController",
                                                            "UIDocumentPickerViewController",
                                                            "UISystemKeyboardDockController",
                                                            "UIPredictionViewController",
                                                            "UIViewController",
                                                            "UIKitNavigationController",
                                                            "UIKitTabBarController"};

constexpr std::string_view kSystemControllerPrefixesTable[] = {"_UI",
                                                               "SFSafari",
                                                               "MFMail",
                                                               "MFMessage",
                                                               "SKStore",
                                                               "AVPlayer",
                                                               "UITracking",
                                                               "UIStatusBar",
                                                               "PresentationHostingController",
                                                               "UIPresentationController"};

constexpr std::string_view kPlaceholderNamesTable[] = {"NotificationView",
                                                       "PrewarmingViewController"};

constexpr std::string_view kPlaceholderNameSuffixesTable[] = {
    "HostingView", "AnimationView", "ProgressView",   "IndicatorView",
    "SpinnerView", "LoadingView",   "GestureControl", "BackGesture",
    "PopGesture",  "SheetHelper",   "Helper"};

constexpr std::string_view kHostedTypeNoiseTable[] = {"ModifiedContent",
                                                      "AnyView",
                                                      "Optional",
                                                      "TupleView",
                                                      "Group",
                                                      "_ViewModifier_Content",
                                                      "NavigationView",
                                                      "VStack",
                                                      "HStack",
                                                      "ZStack",
                                                      "List",
                                                      "ScrollView",
                                                      "LazyVStack",
                                                      "LazyHStack",
                                                      "ForEach",
                                                      "Section",
                                                      "Form",
                                                      "GeometryReader",
                                                      "TabView",
                                                      "NavigationStack",
                                                      "NavigationSplitView",
                                                      "EnvironmentValues",
                                                      "EmptyView",
                                                      "Spacer",
                                                      "Divider",
                                                      "Rectangle",
                                                      "Circle",
                                                      "RoundedRectangle",
                                                      "Capsule",
                                                      "Ellipse",
                                                      "Path",
                                                      "NavigationPath",
                                                      "NavigationLink",
                                                      "NavigationDestination",
                                                      "NavigationSplitViewStyle",
                                                      "NavigationBarItem",
                                                      "PlatformViewHost",
                                                      "UIHostingController",
                                                      "UIHostingView",
                                                      "NavigationStackHostingController",
                                                      "TabHostingController",
                                                      "UIHostingScrollView",
                                                      "UIPagingView",
                                                      "UIKitPagingView",
                                                      "RootModifier",
                                                      "RootView",
                                                      "PlatformViewRepresentableAdaptor",
                                                      "PlatformViewControllerRepresentableAdaptor",
                                                      "ViewControllerRepresentable",
                                                      "ViewRepresentable",
                                                      "UIViewRepresentable",
                                                      "UIViewControllerRepresentable",
                                                      "NSViewRepresentable",
                                                      "NSViewControllerRepresentable",
                                                      "Representable",
                                                      "RepresentableAdaptor",
                                                      "SwiftUIView",
                                                      "ContentView_Previews",
                                                      "UIInputWindowController",
                                                      "UIRemoteKeyboardWindow",
                                                      "UITextEffectsWindow",
                                                      "UISystemInputAssistantViewController",
                                                      "UICompatibilityInputViewController",
                                                      "Binding",
                                                      "State",
                                                      "StateObject",
                                                      "ObservedObject",
                                                      "Published",
                                                      "EnvironmentObject",
                                                      "FocusState",
                                                      "ScaledMetric",
                                                      "Namespace",
                                                      "AppStorage",
                                                      "SceneStorage",
                                                      "Environment",
                                                      "Array",
                                                      "Set",
                                                      "Dictionary",
                                                      "Result",
                                                      "Void",
                                                      "Never",
                                                      "Bool",
                                                      "Int",
                                                      "Int8",
                                                      "Int16",
                                                      "Int32",
                                                      "Int64",
                                                      "UInt",
                                                      "UInt8",
                                                      "UInt16",
                                                      "UInt32",
                                                      "UInt64",
                                                      "Float",
                                                      "Double",
                                                      "String",
                                                      "Character",
                                                      "Date",
                                                      "URL",
                                                      "UUID",
                                                      "Data",
                                                      "Color",
                                                      "Font",
                                                      "Image",
                                                      "Text",
                                                      "Label",
                                                      "Button",
                                                      "Toggle",
                                                      "Slider",
                                                      "Stepper",
                                                      "Picker",
                                                      "DatePicker",
                                                      "ColorPicker",
                                                      "TextField",
                                                      "SecureField",
                                                      "TextEditor",
                                                      "Action",
                                                      "AsyncAction",
                                                      "UIView",
                                                      "UIViewController",
                                                      "UILabel",
                                                      "UIButton",
                                                      "UIImageView",
                                                      "UIScrollView",
                                                      "UIStackView",
                                                      "UITableView",
                                                      "UICollectionView"};

constexpr std::string_view kHostedTypeNoiseSuffixesTable[] = {
    "Representable", "Adaptor", "Adapter", "_Previews",  "ViewModel",
    "Model",         "Store",   "Reducer", "Repository", "Service"};

constexpr std::string_view kHostedTypePreferredSuffixesTable[] = {"View", "Screen", "Page",
                                                                  "Controller"};

constexpr std::string_view kSystemOverlayPartsTable[] = {
    "Keyboard",         "StatusBar",
    "InputAssistant",   "Prediction",
    "_UIBarBackground", "DragPreview",
    "_UIContextMenu",   "_UIAlertController",
    "_UIRemoteView",    "_UIPreviewInteraction",
    "SnapshotView",     "TextEffectsWindow",
    "ScrollBar",        "ScrollIndicator"};

constexpr std::string_view kLoadingPartsTable[] = {
    "ProgressView", "ActivityIndicator", "Placeholder", "Redacted", "Skeleton", "Shimmer"};

constexpr std::string_view kListPartsTable[] = {"List", "Table", "Collection"};

constexpr std::string_view kRowPartsTable[] = {"Cell", "ListRow"};

constexpr std::string_view kTransparentWrapperNamesTable[] = {"_UIHostingView",
                                                              "PlatformViewHost",
                                                              "_UIGraphicsView",
                                                              "HostingScrollView",
                                                              "UIViewControllerWrapperView",
                                                              "UIDropShadowView",
                                                              "UILayoutContainerView",
                                                              "UINavigationTransitionView",
                                                              "UITransitionView",
                                                              "_UIParallaxDimmingView",
                                                              "_UIBarBackground",
                                                              "UIView"};

constexpr std::string_view kTransparentWrapperPrefixesTable[] = {
    "_UIHostingView<", "PlatformViewHost<", "_TtGC", "_TtC7SwiftUI"};

}  // namespace

constinit const Words kSystemControllerNames = kSystemControllerNamesTable;
constinit const Words kSystemControllerPrefixes = kSystemControllerPrefixesTable;
constinit const Words kPlaceholderNames = kPlaceholderNamesTable;
constinit const Words kPlaceholderNameSuffixes = kPlaceholderNameSuffixesTable;
constinit const Words kHostedTypeNoise = kHostedTypeNoiseTable;
constinit const Words kHostedTypeNoiseSuffixes = kHostedTypeNoiseSuffixesTable;
constinit const Words kHostedTypePreferredSuffixes = kHostedTypePreferredSuffixesTable;
constinit const Words kSystemOverlayParts = kSystemOverlayPartsTable;
constinit const Words kLoadingParts = kLoadingPartsTable;
constinit const Words kListParts = kListPartsTable;
constinit const Words kRowParts = kRowPartsTable;
constinit const Words kTransparentWrapperNames = kTransparentWrapperNamesTable;
constinit const Words kTransparentWrapperPrefixes = kTransparentWrapperPrefixesTable;

}  // namespace zarn::screens
