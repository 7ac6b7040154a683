#ifndef TELLAR_PYTHON_TABLEMEMORY_H
#define TELLAR_PYTHON_TABLEMEMORY_H

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace TellarPython {

/// A block of memory that grows without being copied when it is large. Large blocks lie in large
/// pages if the system has them: it clears and maps those far quicker than many small ones.
class Memory {
public:
    Memory() = default;
    Memory(Memory&& other) noexcept
        : block(std::exchange(other.block, nullptr)), mapped(std::exchange(other.mapped, 0)) {}
    Memory& operator=(Memory&& other) noexcept {
        std::swap(block, other.block);
        std::swap(mapped, other.mapped);
        return *this;
    }
    ~Memory();

    void* get() const { return block; }
    /// Makes the block larger or smaller; the first `used` bytes stay. Throws std::bad_alloc.
    void resize(std::size_t used, std::size_t bytes);

private:
    void* block = nullptr;
    std::size_t mapped = 0; // bytes; 0 when the block is from std::realloc
};

/// Gives the pages that lie wholly in a part of a block back to the system. The content of the part
/// is lost; the block remains.
void DropContent(void* part, std::size_t bytes) noexcept;

/// An array that grows at its end, of values that can be copied as bytes. Its memory can be handed
/// to others.
template <typename T>
class GrowingArray {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    T* data() { return static_cast<T*>(memory.get()); }
    const T* data() const { return static_cast<const T*>(memory.get()); }
    T& operator[](std::size_t index) { return data()[index]; }
    const T& operator[](std::size_t index) const { return data()[index]; }
    T& back() { return data()[count - 1]; }

    void push(T value) { *extend(1) = value; }

    /// Adds values that the caller has to write. Returns the first one.
    T* extend(std::size_t number) {
        if (capacity - count < number) grow(count + number);
        return data() + std::exchange(count, count + number);
    }

    /// Gives up the memory behind the last value, and then all of it. It is never null.
    Memory take() {
        memory.resize(count * sizeof(T), std::max<std::size_t>(count * sizeof(T), 1));
        count = capacity = 0;
        return std::move(memory);
    }

private:
    void grow(std::size_t least) {
        constexpr std::size_t kFirst = 64;
        const std::size_t wanted = std::max({least, capacity + capacity / 2, kFirst});
        memory.resize(count * sizeof(T), wanted * sizeof(T));
        capacity = wanted;
    }

    Memory memory;
    std::size_t count = 0;
    std::size_t capacity = 0;
};

} // namespace TellarPython

#endif
