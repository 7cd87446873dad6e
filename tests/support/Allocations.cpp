#include "tests/support/Allocations.h"

#ifdef __has_feature
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KTR_SANITIZED_HEAP
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KTR_SANITIZED_HEAP
#endif

namespace {

thread_local std::size_t counted = 0;

}  // namespace

#ifdef KTR_SANITIZED_HEAP

// The run-time libraries of both compilers have it, the headers of one do not.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the run-time library's name
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*,
                                                                           std::size_t),
                                                         void (*freed)(const volatile void*));

namespace {

// A sanitizer has a heap of its own, which tells.
[[gnu::constructor]] void listen() {
  __sanitizer_install_malloc_and_free_hooks([](const volatile void*, std::size_t) { ++counted; },
                                            [](const volatile void*) {});
}

}  // namespace

#else

#pragma GCC visibility push(default)
extern "C" {

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's name
void* __libc_malloc(std::size_t n);

void* malloc(std::size_t n) {
  ++counted;
  return __libc_malloc(n);
}

}  // extern "C"
#pragma GCC visibility pop

#endif

Allocations::Allocations() : before_(counted) {}

std::size_t Allocations::count() const {
  return counted - before_;
}
