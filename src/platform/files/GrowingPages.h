#pragma once

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <sys/mman.h>
#include <type_traits>
#include <utility>

namespace platform {

// A list of plain values that lies in pages of its own (mmap(2)): it grows without a copy, room that is not yet used
// takes no memory, and all of it goes back to the system at once when it ends, which a heap of mixed sizes does not
// promise. For lists that may become very large; throws std::bad_alloc where the system has no more.
template <class T>
    requires std::is_trivially_copyable_v<T>
class GrowingPages {
public:
    GrowingPages() noexcept = default;
    GrowingPages(GrowingPages&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)),
          capacity_(std::exchange(other.capacity_, 0)) {}
    GrowingPages& operator=(GrowingPages&& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
        return *this;
    }
    ~GrowingPages() {
        if (data_ != nullptr) {
            ::munmap(data_, capacity_ * sizeof(T));
        }
    }

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return data_[index]; }
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return data_[index]; }
    [[nodiscard]] std::span<T> values() noexcept { return {data_, size_}; }
    [[nodiscard]] std::span<const T> values() const noexcept { return {data_, size_}; }

    void append(std::span<const T> more) {
        reserve(size_ + more.size());
        if (!more.empty()) {
            std::memcpy(data_ + size_, more.data(), more.size_bytes());
        }
        size_ += more.size();
    }
    void append(T value) { append(std::span<const T>(&value, 1)); }
    // Adds values of zero bytes alone: they take no memory either before they are written to.
    void appendZeros(std::size_t count) {
        reserve(size_ + count);
        size_ += count;
    }

private:
    void reserve(std::size_t count) {
        if (count > capacity_) {
            grow(count);
        }
    }
    void grow(std::size_t count) {
        std::size_t capacity = capacity_ == 0 ? firstBytes / sizeof(T) : capacity_ * 2;
        while (capacity < count) {
            capacity *= 2;
        }
        void* const pages =
            data_ == nullptr
                ? ::mmap(nullptr, capacity * sizeof(T), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                : ::mremap(data_, capacity_ * sizeof(T), capacity * sizeof(T), MREMAP_MAYMOVE);
        if (pages == MAP_FAILED) {
            throw std::bad_alloc();
        }
        data_ = static_cast<T*>(pages);
        capacity_ = capacity;
    }

    static constexpr std::size_t firstBytes = 65536;
    T* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

} // namespace platform
