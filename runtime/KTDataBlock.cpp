#include "runtime/KTDataBlock.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

// Header of one allocation; the bytes follow it, aligned for any type (KTVector builds in them).
// Those of a mapped block begin at a page, so that a file can be written from them past the page
// cache.
struct alignas(std::max_align_t) KTDataBlock::Storage {
  std::atomic<unsigned int> users{1};
  unsigned int capacity;
  bool inLargePages = false;

  explicit Storage(unsigned int n) : capacity(n) {}
  unsigned char* bytes() { return reinterpret_cast<unsigned char*>(this) + headSize(capacity); }
  [[nodiscard]] bool isShared() const { return users.load(std::memory_order_acquire) != 1; }

  // Large blocks come zeroed from the kernel, page by page as they are touched. The heap promises
  // neither: it hands pages of freed blocks out again, and those are resident.
  static bool isMapped(unsigned int n) { return n >= MAPPED_SIZE; }

  static Storage* create(unsigned int n) {
    void* raw = isMapped(n) ? newPages(sizeOf(n)) : std::malloc(sizeOf(n));
    if (raw == nullptr) throw std::bad_alloc();
    return new (raw) Storage(n);
  }

  static Storage* createInLargePages(unsigned int n) {
    // Where the system's own pages are larger than ours a mapping cannot be cut at the latter.
    const bool cuts = sysconf(_SC_PAGESIZE) == static_cast<long>(PAGE_SIZE);
    Storage* const storage = cuts ? new (newLargePages(sizeOf(n))) Storage(n) : create(n);
    storage->inLargePages = true;
    return storage;
  }

  // This storage with another capacity, at another place; both are mapped. The pages move as they
  // are: nothing is copied, and none is resident twice.
  Storage* moved(unsigned int n) {
    void* raw = mremap(this, sizeOf(capacity), sizeOf(n), MREMAP_MAYMOVE);
    if (raw == MAP_FAILED) throw std::bad_alloc();
    auto* storage = static_cast<Storage*>(raw);
    storage->capacity = n;
    return storage;
  }

  void destroy() {
    const unsigned int n = capacity;
    this->~Storage();
    if (isMapped(n)) {
      munmap(this, sizeOf(n));
    } else {
      std::free(this);
    }
  }

 private:
  static constexpr unsigned int MAPPED_SIZE = 1U << 20;
  static constexpr std::size_t PAGE_SIZE = 4096;
  static constexpr std::size_t LARGE_PAGE_SIZE = std::size_t{2} << 20;

  static void* newPages(std::size_t n) {
    void* const pages =
        mmap(nullptr, n, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    return pages;
  }
  // Behind the head's small page a large one begins. Advised before the head is written, since a
  // page that is touched first stays small; and all of it, head and all, since a mapping in two
  // parts could not be moved any more.
  static void* newLargePages(std::size_t n) {
    auto* const pages = static_cast<unsigned char*>(newPages(n + LARGE_PAGE_SIZE));
    const auto second = reinterpret_cast<std::uintptr_t>(pages) + PAGE_SIZE;
    const std::size_t unused = (LARGE_PAGE_SIZE - second % LARGE_PAGE_SIZE) % LARGE_PAGE_SIZE;
    unsigned char* const begin = pages + unused;
    if (unused != 0) munmap(pages, unused);
    munmap(begin + roundedUp(n), LARGE_PAGE_SIZE - unused);
    (void)madvise(begin, n, MADV_HUGEPAGE);
    return begin;
  }
  static std::size_t roundedUp(std::size_t n) {
    return (n + PAGE_SIZE - 1) / PAGE_SIZE * PAGE_SIZE;
  }
  static std::size_t headSize(unsigned int n) { return isMapped(n) ? PAGE_SIZE : sizeof(Storage); }
  static std::size_t sizeOf(unsigned int n) { return headSize(n) + n; }
};

KTDataBlock::KTDataBlock(unsigned int n) : size(n), data(nullptr), storage_(nullptr) {
  if (n == 0) return;
  storage_ = Storage::create(n);
  if (!Storage::isMapped(n)) std::memset(storage_->bytes(), 0, n);
  data = storage_->bytes();
}

KTDataBlock::KTDataBlock(const unsigned char* p, unsigned int n) : KTDataBlock() {
  if (n == 0) return;
  moveTo(n);
  std::memcpy(storage_->bytes(), p, n);
  size = n;
}

KTDataBlock::KTDataBlock(const KTDataBlock& other) noexcept
    : size(other.size), data(other.data), storage_(other.storage_) {
  if (storage_ != nullptr) storage_->users.fetch_add(1, std::memory_order_relaxed);
}

KTDataBlock::KTDataBlock(KTDataBlock&& other) noexcept
    : size(std::exchange(other.size, 0)),
      data(std::exchange(other.data, nullptr)),
      storage_(std::exchange(other.storage_, nullptr)) {}

KTDataBlock& KTDataBlock::operator=(const KTDataBlock& other) noexcept {
  KTDataBlock held(other);
  return *this = std::move(held);
}

KTDataBlock& KTDataBlock::operator=(KTDataBlock&& other) noexcept {
  std::swap(size, other.size);
  std::swap(data, other.data);
  std::swap(storage_, other.storage_);
  return *this;
}

KTDataBlock::~KTDataBlock() {
  release();
}

void KTDataBlock::release() {
  if (storage_ == nullptr) return;
  if (storage_->users.fetch_sub(1, std::memory_order_acq_rel) == 1) storage_->destroy();
  storage_ = nullptr;
}

bool KTDataBlock::isShared() const {
  return storage_ != nullptr && storage_->isShared();
}

// Bytes that may be used from data on without touching what another block sees.
unsigned int KTDataBlock::ownRoom() const {
  if (storage_ == nullptr || isShared()) return 0;
  return storage_->capacity - static_cast<unsigned int>(data - storage_->bytes());
}

void KTDataBlock::moveTo(unsigned int capacity) {
  if (movesItsPages(capacity)) {
    storage_ = storage_->moved(capacity);
  } else {
    Storage* room = Storage::create(capacity);
    const unsigned int kept = std::min(size, capacity);
    if (kept != 0) std::memcpy(room->bytes(), data, kept);
    release();
    storage_ = room;
  }
  data = storage_->bytes();
}

bool KTDataBlock::movesItsPages(unsigned int capacity) const {
  return Storage::isMapped(capacity) && storage_ != nullptr && data == storage_->bytes() &&
         Storage::isMapped(storage_->capacity) && !storage_->isShared();
}

void KTDataBlock::clear() {
  size = 0;
}

// Room for n bytes with a half as much to spare, so that repeated growth copies each byte a few
// times only.
void KTDataBlock::growTo(unsigned int n) {
  if (ownRoom() < n) moveTo(std::max(n, size + size / 2));
}

void KTDataBlock::resize(unsigned int n) {
  if (n > size) growTo(n);
  size = n;
}

void KTDataBlock::reserve(unsigned int n) {
  if (n != 0 && ownRoom() < n) moveTo(std::max(n, size));
}

void KTDataBlock::reserveLargePages(unsigned int n) {
  constexpr unsigned int SPARE = 6U << 20;
  if (n == 0 || (ownRoom() >= n && storage_->inLargePages)) return;
  const unsigned int needed = std::max(n, size);
  const unsigned int most = std::numeric_limits<unsigned int>::max();
  KTDataBlock room;
  room.storage_ =
      Storage::createInLargePages(needed + std::min(std::max(SPARE, needed / 2), most - needed));
  room.data = room.storage_->bytes();
  if (size != 0) std::memcpy(room.storage_->bytes(), data, size);
  room.size = size;
  *this = std::move(room);
}

void KTDataBlock::replace(unsigned int offset, const KTDataBlock& b) {
  if (b.size == 0) return;
  unsigned char* own = writable();  // first: b may be this block
  std::memmove(own + offset, b.data, b.size);
}

void KTDataBlock::setData(const unsigned char* p, unsigned int n) {
  if (n == 0) return clear();
  if (ownRoom() < n) {
    *this = KTDataBlock(p, n);
    return;
  }
  std::memmove(const_cast<unsigned char*>(data), p, n);
  size = n;
}

KTDataBlock KTDataBlock::copy(unsigned int offset, unsigned int n) const {
  const unsigned int start = std::min(offset, size);
  KTDataBlock part(*this);
  part.data += start;
  part.size = std::min(n, size - start);
  return part;
}

void KTDataBlock::getData(unsigned char* dst, unsigned int n) const {
  const unsigned int count = std::min(n, size);
  if (count != 0) std::memcpy(dst, data, count);
}

unsigned char* KTDataBlock::writable() {
  if (size != 0 && ownRoom() < size) moveTo(size);
  return const_cast<unsigned char*>(data);
}

KTDataBlock& KTDataBlock::operator+=(const KTDataBlock& b) {
  const KTDataBlock added(b);  // b may be this block
  const unsigned int oldSize = size;
  if (added.size > std::numeric_limits<unsigned int>::max() - oldSize) throw std::bad_alloc();
  const unsigned int needed = oldSize + added.size;
  growTo(needed);
  size = needed;
  if (added.size != 0) std::memcpy(writable() + oldSize, added.data, added.size);
  return *this;
}

KTDataBlock KTDataBlock::operator+(const KTDataBlock& b) const {
  KTDataBlock sum(*this);
  sum += b;
  return sum;
}

bool KTDataBlock::operator==(const KTDataBlock& b) const {
  return size == b.size && (size == 0 || std::memcmp(data, b.data, size) == 0);
}
