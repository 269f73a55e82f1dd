// Clang's thread-safety attributes under our own names; empty on other compilers.
#pragma once

#if defined(__clang__)
#define ZARN_TSA(x) __attribute__((x))
#else
#define ZARN_TSA(x)
#endif

#define ZARN_CAPABILITY(name) ZARN_TSA(capability(name))
#define ZARN_SCOPED_CAPABILITY ZARN_TSA(scoped_lockable)
#define ZARN_GUARDED_BY(x) ZARN_TSA(guarded_by(x))
#define ZARN_PT_GUARDED_BY(x) ZARN_TSA(pt_guarded_by(x))
#define ZARN_REQUIRES(...) ZARN_TSA(requires_capability(__VA_ARGS__))
#define ZARN_EXCLUDES(...) ZARN_TSA(locks_excluded(__VA_ARGS__))
#define ZARN_ACQUIRE(...) ZARN_TSA(acquire_capability(__VA_ARGS__))
#define ZARN_TRY_ACQUIRE(...) ZARN_TSA(try_acquire_capability(__VA_ARGS__))
#define ZARN_RELEASE(...) ZARN_TSA(release_capability(__VA_ARGS__))
#define ZARN_ASSERT_CAPABILITY(x) ZARN_TSA(assert_capability(x))
#define ZARN_RETURN_CAPABILITY(x) ZARN_TSA(lock_returned(x))
#define ZARN_NO_THREAD_SAFETY_ANALYSIS ZARN_TSA(no_thread_safety_analysis)
