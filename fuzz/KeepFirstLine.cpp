// A custom mutator for inputs whose first line is the file extension: it changes only the rest.

#include <algorithm>
#include <cstdint>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned) {
    std::uint8_t* const newline = std::find(data, data + size, '\n');
    if (newline == data + size) return LLVMFuzzerMutate(data, size, maxSize);
    const auto head = static_cast<std::size_t>(newline + 1 - data);
    return head + LLVMFuzzerMutate(data + head, size - head, maxSize - head);
}
