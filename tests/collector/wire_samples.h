// Well-formed wire texts, to be spoilt by the tests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

inline std::string idOf(int n) {
  std::string digits = std::to_string(n);
  return "0A1B2C3D-4E5F-4A6B-8C7D-" + std::string(12 - digits.size(), '0') + digits;
}

inline std::string eventText(int n, const std::string& properties = "{}") {
  return R"({"event_id":")" + idOf(n) + R"(","device_id":"D","anonymous_id":"A","session_id":"S)" +
         std::to_string(n % 2) +
         R"(","fingerprint":"ab","event_type":"custom","event_name":"item )" +
         std::to_string(n % 3) + R"(","properties":)" + properties +
         R"(,"timestamp":"2026-01-31T09:30:00Z","context":{"platform":"ios","device_model":"m",)"
         R"("os_version":"12","app_version":"1.0","locale":"en_GB","timezone":"Europe/Oslo",)"
         R"("screen_width":1920,"screen_height":1080,"battery_level":0.5,"is_charging":true}})";
}

/// A whole context; `more` goes into its hardware.
inline std::string contextText(const std::string& more = {}) {
  return R"({"device":{"family":"PC","model":"x86_64","brand":"generic","type":"phone",)"
         R"("screen_width_px":1920,"screen_height_px":1080,"screen_density":1.0,)"
         R"("orientation":"landscape","device_hash":")" +
         std::string(64, 'a') +
         R"(","device_class":"high","is_simulator":false},"os":{"name":"Linux","version":"12"},)"
         R"("runtime":{"language":"en","languages":["en"],"timezone":"Europe/Oslo"},)"
         R"("hardware":{"memory_gb":16,"cpu_cores":8,"max_touch_points":5,"processor_count":8,)"
         R"("brand":"","manufacturer":"")" +
         more +
         R"(},"app":{"version":"1.0","build":"7","bundle_id":"io.shop","name":"Shop",)"
         R"("start_time":"2026-01-31T09:00:00.000Z"},)"
         R"("culture":{"locale":"en_GB","calendar":"gregorian","uses_24h_format":true}})";
}

inline std::string batchText(const std::vector<std::string>& events,
                             const std::string& context = contextText()) {
  std::string text =
      R"({"project_id":"shop","api_key":"k","platform":"ios","environment":"production",)"
      R"("sdk_version":"1.0.16","app_version":"1.0","bundle_id":"io.shop","release_id":"",)"
      R"("context":)" +
      context + R"(,"batch":[)";
  for (const std::string& event : events) text += (text.back() == '[' ? "" : ",") + event;
  return text + R"(],"sent_at":"2026-01-31T09:30:01Z"})";
}

/// The text with the first `from` in it replaced.
inline std::string spoilt(std::string text, std::string_view from, std::string_view to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) return "nothing to spoil";
  return text.replace(at, from.size(), to);
}

}  // namespace zarn::collector
