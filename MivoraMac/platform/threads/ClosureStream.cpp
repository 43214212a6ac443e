#include "MivoraMac/platform/threads/ClosureStream.h"

#include <algorithm>
#include <new>

namespace Mivora::platform {

namespace {

constexpr std::size_t kFirstChunkSize = 4096;
constexpr std::size_t kChunkSize = 65536;
/// Spent chunks beyond this many (16 MiB) go back to the system.
constexpr std::size_t kMaximumFreeChunks = 256;

/// In bytes, some ten closures ahead; beyond the end of a chunk it does nothing.
constexpr std::size_t kPrefetchDistance = 1024;

void prefetchForWriting(const std::byte* address) {
#if defined(__x86_64__)
    // Compilers turn their builtin into this only when told of a newer processor.
    asm volatile("prefetchw %0" : : "m"(*address));
#else
    __builtin_prefetch(address, 1);
#endif
}

constexpr std::size_t aligned(std::size_t size) {
    return (size + ClosureStream::kAlignment - 1) & ~(ClosureStream::kAlignment - 1);
}

}  // namespace

struct alignas(ClosureStream::kAlignment) ClosureStream::Chunk {
    Chunk* next;
    std::size_t capacity;  // bytes that follow

    std::byte* data() { return reinterpret_cast<std::byte*>(this + 1); }
    Header* header(std::size_t offset) { return reinterpret_cast<Header*>(data() + offset); }
};

ClosureStream::~ClosureStream() {
    freeChunks(head_);
    freeChunks(free_);
    freeChunks(spent_);
}

ClosureStream::Chunk* ClosureStream::makeChunk(std::size_t capacity) {
    void* memory = ::operator new(sizeof(Chunk) + capacity, std::align_val_t(alignof(Chunk)));
    return ::new (memory) Chunk{nullptr, capacity};
}

void ClosureStream::freeChunks(Chunk* list) {
    while (list != nullptr) {
        Chunk* next = list->next;
        ::operator delete(list, std::align_val_t(alignof(Chunk)));
        list = next;
    }
}

void ClosureStream::appendChunk(std::size_t need) {
    Chunk* chunk = nullptr;
    if (free_ != nullptr && need <= free_->capacity) {
        chunk = free_;
        free_ = chunk->next;
        --freeCount_;
        chunk->next = nullptr;
    } else {
        chunk = makeChunk(std::max(need, tail_ == nullptr ? kFirstChunkSize : kChunkSize));
    }
    if (tail_ == nullptr) {
        head_ = chunk;
        headOffset_ = 0;
    } else {
        ::new (tail_->header(tailUsed_)) Header{nullptr, 0};
        tail_->next = chunk;
    }
    tail_ = chunk;
    tailUsed_ = 0;
}

void* ClosureStream::reserve(std::size_t size) {
    const std::size_t need = sizeof(Header) + aligned(size);
    // Every chunk keeps room for the header that leads on to the next one.
    if (tail_ == nullptr || tailUsed_ + need + sizeof(Header) > tail_->capacity) {
        appendChunk(need + sizeof(Header));
    }
    reserved_ = need;
    // The consumer's processor still has the memory it read last: ask for it ahead of time.
    prefetchForWriting(tail_->data() + tailUsed_ + kPrefetchDistance);
    prefetchForWriting(tail_->data() + tailUsed_ + kPrefetchDistance + 64);
    return tail_->data() + tailUsed_ + sizeof(Header);
}

void ClosureStream::commit(Run run) {
    ::new (tail_->header(tailUsed_)) Header{run, reserved_};
    tailUsed_ += reserved_;
    ++ready_;
}

void ClosureStream::recycleSpent() {
    while (spent_ != nullptr) {
        Chunk* chunk = spent_;
        spent_ = chunk->next;
        if (chunk->capacity == kChunkSize && freeCount_ < kMaximumFreeChunks) {
            chunk->next = free_;
            free_ = chunk;
            ++freeCount_;
        } else {
            chunk->next = nullptr;
            freeChunks(chunk);
        }
    }
}

std::size_t ClosureStream::takeReady() {
    recycleSpent();
    const std::size_t count = ready_;
    ready_ = 0;
    if (count == 0 && head_ == tail_) {
        headOffset_ = 0;
        tailUsed_ = 0;
    }
    return count;
}

void ClosureStream::runNext() {
    Header* header = head_->header(headOffset_);
    if (header->run == nullptr) {
        Chunk* done = head_;
        head_ = done->next;
        headOffset_ = 0;
        done->next = spent_;
        spent_ = done;
        header = head_->header(0);
    }
    headOffset_ += header->size;
    header->run(header + 1);
}

}  // namespace Mivora::platform
