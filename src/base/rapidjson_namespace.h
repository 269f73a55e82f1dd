// Comes before every include of rapidjson. A host may link another version of it; ours keeps to a
// namespace of its own, so that the linker never mixes the two.
#pragma once

#define RAPIDJSON_NAMESPACE zarn::base::rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace zarn::base::rapidjson {
#define RAPIDJSON_NAMESPACE_END }
