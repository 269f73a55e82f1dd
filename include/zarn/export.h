// Symbol visibility and the versioned namespace of the public surface.
#pragma once

#define ZARN_API __attribute__((visibility("default")))

/// One inline namespace per minor version: a host that was built against another one fails to link
/// instead of failing at run time.
#define ZARN_VERSION_NAMESPACE v1_0
#define ZARN_NAMESPACE_BEGIN \
  namespace zarn {           \
  inline namespace ZARN_VERSION_NAMESPACE {
#define ZARN_NAMESPACE_END \
  }                        \
  }
