// Under a sanitizer, keeps shared libraries in memory until the program ends.
//
// The GL driver is unloaded when its display ends. What it leaked, or did on its threads, is
// reported later, at the end of the program, when nothing tells any more which library the code
// belonged to: "<unknown module>", which no suppression matches. This definition stands before that
// of the C library in the order of lookup.

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MIVORA_TESTS_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MIVORA_TESTS_SANITIZED
#endif

#if defined(MIVORA_TESTS_SANITIZED)
extern "C" __attribute__((visibility("default"))) int dlclose(void* library) noexcept;

int dlclose(void* /*library*/) noexcept {
    return 0;
}
#endif
