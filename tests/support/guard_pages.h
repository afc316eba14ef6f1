// Arrays that begin or end exactly at a page no one may touch: a read or write beside them is a crash.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <vector>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace test {

// Memory between two inaccessible pages.
class GuardedPages {
  public:
    static constexpr std::size_t page = 4096;

    explicit GuardedPages(std::size_t bytes) : inner_((bytes + page - 1) / page * page) {
#ifdef _WIN32
        base_ = static_cast<char *>(
            VirtualAlloc(nullptr, inner_ + 2 * page, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS));
        DWORD before;
        const bool done =
            base_ && (inner_ == 0 || VirtualProtect(base_ + page, inner_, PAGE_READWRITE, &before));
#else
        void *const mapped = mmap(nullptr, inner_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base_ = static_cast<char *>(mapped);
        const bool done = mapped != MAP_FAILED &&
                          (inner_ == 0 || mprotect(base_ + page, inner_, PROT_READ | PROT_WRITE) == 0);
#endif
        if (!done)
            std::abort(); // no memory: the test cannot say anything
    }
    GuardedPages(const GuardedPages &) = delete;
    GuardedPages &operator=(const GuardedPages &) = delete;
    ~GuardedPages() {
#ifdef _WIN32
        VirtualFree(base_, 0, MEM_RELEASE);
#else
        munmap(base_, inner_ + 2 * page);
#endif
    }

    char *begin() const { return base_ + page; }
    char *end() const { return begin() + inner_; }

  private:
    std::size_t inner_;
    char *base_;
};

enum class Edge { begin, end }; // which end of the array touches an inaccessible page

template <class T> class GuardedArray {
  public:
    GuardedArray(std::size_t size, Edge edge, T value = T())
        : pages_(size * sizeof(T)), size_(size),
          data_(
              reinterpret_cast<T *>(edge == Edge::begin ? pages_.begin() : pages_.end() - size * sizeof(T))) {
        std::fill_n(data_, size, value);
    }
    GuardedArray(const std::vector<T> &values, Edge edge) : GuardedArray(values.size(), edge) {
        std::copy(values.begin(), values.end(), data_);
    }

    T *data() const { return data_; }
    std::size_t size() const { return size_; }
    T *begin() const { return data_; }
    T *end() const { return data_ + size_; }
    T &operator[](std::size_t i) const { return data_[i]; }

  private:
    GuardedPages pages_;
    std::size_t size_;
    T *data_;
};

} // namespace test
