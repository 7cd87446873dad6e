#include "host/bench/ColdBytes.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t LARGE_PAGE = std::size_t{2} << 20;

unsigned char* alignedMemory(ColdBytes::Pages pages) {
  void* const memory = std::aligned_alloc(LARGE_PAGE, ColdBytes::SIZE);
  if (memory == nullptr) throw std::bad_alloc();
  const int advice = pages == ColdBytes::Pages::Large ? MADV_HUGEPAGE : MADV_NOHUGEPAGE;
  (void)madvise(memory, ColdBytes::SIZE, advice);  // those that come do as well
  return static_cast<unsigned char*>(memory);
}

}  // namespace

// Every byte is written once, so that the memory is there, and none of it is the page of zeros.
ColdBytes::ColdBytes(Pages pages) : bytes_(alignedMemory(pages)) {
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < SIZE; ++i) {
    state = state * 1664525U + 1013904223U;
    bytes_[i] = static_cast<unsigned char>(state >> 24);
  }
}

ColdBytes::~ColdBytes() {
  std::free(bytes_);
}

const unsigned char* ColdBytes::next(std::size_t count) {
  if (count > SIZE - place_) place_ = 0;
  const unsigned char* const bytes = bytes_ + place_;
  const std::size_t step = (count + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
  place_ = step > SIZE - place_ ? 0 : place_ + step;
  return bytes;
}
