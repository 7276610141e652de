// Which sanitizer the tests are built with, by either compiler.
#pragma once

#if defined(__has_feature)
#define LOAM_HAS_FEATURE(name) __has_feature(name)
#else
#define LOAM_HAS_FEATURE(name) 0
#endif

#if defined(__SANITIZE_THREAD__) || LOAM_HAS_FEATURE(thread_sanitizer)
constexpr bool kIsThreadSanitized = true;
#else
constexpr bool kIsThreadSanitized = false;
#endif

#if defined(__SANITIZE_ADDRESS__) || LOAM_HAS_FEATURE(address_sanitizer)
constexpr bool kIsAddressSanitized = true;
#else
constexpr bool kIsAddressSanitized = false;
#endif

#undef LOAM_HAS_FEATURE
