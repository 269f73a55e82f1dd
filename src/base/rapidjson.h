// The JSON library, for the files behind json.h only.
//
// A host may link another version of it: ours keeps to a namespace of its own, so that the linker
// never mixes the two.
#pragma once

#define RAPIDJSON_NAMESPACE zarn::base::rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace zarn::base::rapidjson {
#define RAPIDJSON_NAMESPACE_END }

// Its stack compares "null plus size" with its end before it has any memory, which is harmless but
// which the sanitizer reports.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>
#if defined(__clang__)
#pragma clang attribute pop
#endif
