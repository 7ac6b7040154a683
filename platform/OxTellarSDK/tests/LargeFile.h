// A large file of arrays, and what the memory budget says of it.
#ifndef OXTELLARSDK_TESTS_LARGEFILE_H
#define OXTELLARSDK_TESTS_LARGEFILE_H

#include <atomic>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/MemoryBudget.h>

#include "RunTogether.h"
#include "Sanitized.h"
#include "ScopedEnvironment.h"
#include "TempDirectory.h"

constexpr int kArrays = 64;
constexpr int kNumbers = 50000;                          // doubles of an array
constexpr std::uint64_t kBytes = kArrays * kNumbers * 8; // 25.6 MB
constexpr std::uint64_t kSlack = 1 << 20;

inline OxAttribute::GroupAttribute Arrays() {
    std::vector<OxAttribute::GroupAttribute::Child> children;
    for (int i = 0; i < kArrays; ++i)
        children.emplace_back("array" + std::to_string(i),
                              OxAttribute::DoubleAttribute(std::vector<double>(kNumbers, i), 1));
    return OxAttribute::GroupAttribute(children, true);
}

inline OxTellarMemory::CacheStatistics StatisticsOf(const std::string& name) {
    for (const auto& cache : OxTellarMemory::GetMemoryStatistics().caches)
        if (cache.name == name) return cache;
    return {};
}

/// How much of a mapped file the process has in its memory, in bytes.
inline std::uint64_t ResidentBytesOf(const std::string& path) {
    std::ifstream maps("/proc/self/smaps");
    std::uint64_t kilobytes = 0;
    bool isFile = false;
    for (std::string line; std::getline(maps, line);) {
        const bool isHead = line.find(" kB") == std::string::npos && line.find('-') < 17;
        if (isHead) isFile = line.find(path) != std::string::npos;
        if (isFile && line.rfind("Rss:", 0) == 0) kilobytes += std::stoull(line.substr(4));
    }
    return kilobytes * 1024;
}

/// How often threads that read the arrays get others while the limit of memory goes up and down.
inline int WrongReadsWhileShrinking(const OxAttribute::GroupAttribute& value) {
    const OxAttribute::GroupAttribute expected = Arrays();
    std::atomic<bool> isDone{false};
    std::atomic<int> wrong{0};
    std::thread shrinking([&] {
        while (!isDone) {
            OxTellarMemory::SetMemoryLimit(1 << 20);
            OxTellarMemory::SetMemoryLimit(OxTellarMemory::kUnlimitedMemory);
        }
    });
    RunTogether(4, [&](int) {
        for (int pass = 0; pass < (TellarTest::kSanitized ? 2 : 10); ++pass)
            wrong += value != expected;
    });
    isDone = true;
    shrinking.join();
    return wrong;
}

class LargeFile : public testing::Test {
protected:
    ~LargeFile() override {
        OxTellarMemory::SetMemoryLimit(OxTellarMemory::kUnlimitedMemory);
        setting.reset();
        Config()->reload();
    }

    OxAttribute::GroupAttribute open(const char* mapAbove, bool compress = false) {
        setting.emplace("OX_CONFIG_MAP_FILES_ABOVE", mapAbove);
        Config()->reload();
        OxAttribute::WriteAttributeFile(path, Arrays(), compress);
        return Read(path);
    }
    void closeUnused() const {
        OxAttribute::WriteAttributeFile(folder.path("small"), OxAttribute::IntAttribute(1));
        Read(folder.path("small"));
    }
    static OxAttribute::Attribute Read(const std::string& file) {
        OxAttribute::FileStream stream(file, true);
        return OxAttribute::Attribute::readAttributeStream(&stream, &OxAttribute::FileStream::read,
                                                           0);
    }

    TempDirectory folder;
    std::string path = folder.path("large.oxa");
    std::optional<ScopedEnvironment> setting;
};

#endif
