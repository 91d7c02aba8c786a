#pragma once

/// Whether this is built with the thread sanitizer.
#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitized = true;
#elif defined(__has_feature)
constexpr bool kThreadSanitized = __has_feature(thread_sanitizer);
#else
constexpr bool kThreadSanitized = false;
#endif

/// Whether this is built with a sanitizer: code takes about ten times as long, and the runtime may
/// have a thread of its own.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = kThreadSanitized || __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = kThreadSanitized;
#endif
