// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/FreedMemory.h"

#include <QFile>

#include <array>
#include <cstdlib>
#include <cstring>

#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

constexpr size_t kMiB = size_t{1024} * 1024;

/// As a text does on its way: several at a time, of a size that would be mapped each on its own.
void useAndFree(size_t size) {
    std::array<void*, 4> blocks{};
    for (void*& block : blocks) {
        block = std::malloc(size);
        std::memset(block, 1, size);
    }
    for (void* block : blocks) {
        std::free(block);
    }
}

long pageFaults() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

size_t residentBytes() {
    QFile file(QStringLiteral("/proc/self/statm"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    // Size, resident, ... in pages.
    return file.readAll().split(' ').at(1).toULongLong() *
           static_cast<size_t>(::sysconf(_SC_PAGESIZE));
}

TEST(FreedMemory, ServesAgainAndIsGivenBack) {
    keepFreedMemory();
    useAndFree(4 * kMiB);
    const long before = pageFaults();
    useAndFree(4 * kMiB);
    EXPECT_LT(pageFaults() - before, 100) << "of four blocks of 4 MiB";

    const size_t kept = residentBytes();
    releaseFreedMemory();
    EXPECT_LT(residentBytes(), kept - 12 * kMiB);

    // A little is not worth it.
    useAndFree(kMiB / 4);
    const long beforeLittle = pageFaults();
    releaseFreedMemory();
    useAndFree(kMiB / 4);
    EXPECT_LT(pageFaults() - beforeLittle, 100);
}

} // namespace
} // namespace velmorin
