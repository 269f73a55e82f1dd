// The wire form of a screen's reference picture, and of the question whether it is wanted.
#pragma once

#include <string>
#include <string_view>

#include "server/object_check.h"
#include "server/records.h"

namespace zarn::collector {

inline constexpr std::string_view kPictureKey = "image_b64";

inline constexpr KeyRule kScreenshotCheckKeys[] = {
    {"project_id", Kind::filledText},  {"app_id", Kind::filledText},
    {"screen_name", Kind::filledText}, {"platform", Kind::filledText},
    {"sdk_version", Kind::filledText}, {"bundle_id", Kind::filledText},
};

inline constexpr KeyRule kScreenshotKeys[] = {
    {"project_id", Kind::filledText},
    {"app_id", Kind::filledText},
    {"screen_name", Kind::filledText},
    {"platform", Kind::filledText},
    {"sdk_version", Kind::filledText},
    {"bundle_id", Kind::filledText},
    {kPictureKey, Kind::filledText},
    {"width", Kind::integer},
    {"height", Kind::integer},
    {"release_id", Kind::filledText, Need::optional},
    {"device_id", Kind::filledText},
    {"anonymous_id", Kind::filledText},
    {"user_id", Kind::filledText, Need::optional},
};

/// Reads what has been checked by one of the tables, and adds what else is wrong. The answer is why
/// the picture cannot be kept; empty: it can, or none was asked for.
std::string readScreenshot(ObjectCheck& check, bool withPicture, Screenshot& screenshot);

}  // namespace zarn::collector
