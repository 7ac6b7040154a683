#ifndef OXTELLARSDK_TESTS_HEXPAGE_H
#define OXTELLARSDK_TESTS_HEXPAGE_H

#include <fstream>
#include <string>

#include <gtest/gtest.h>

/// The value of a hexadecimal digit; -1 for another character.
inline int DigitOf(char c) {
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

/// The bytes at the start of "4f 78 41   header", two digits and a space each.
inline std::string BytesOf(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 3) {
        const int high = DigitOf(text[i]), low = DigitOf(text[i + 1]);
        if (high < 0 || low < 0) break;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

/// The bytes that a page about a format shows: lines "    <offset>  <bytes>   <remark>".
inline std::string BytesOnPage(const std::string& path) {
    std::ifstream page(path);
    std::string bytes;
    for (std::string line; std::getline(page, line);) {
        if (line.size() < 12 || line.compare(0, 4, "    ") != 0) continue;
        std::size_t digits = 0;
        const bool isOffset = line.compare(8, 2, "  ") == 0 && DigitOf(line[4]) >= 0;
        const std::size_t offset = isOffset ? std::stoul(line.substr(4, 4), &digits, 16) : 0;
        if (digits != 4) continue;
        EXPECT_EQ(offset, bytes.size()) << line;
        bytes += BytesOf(line.substr(10));
    }
    return bytes;
}

#endif
