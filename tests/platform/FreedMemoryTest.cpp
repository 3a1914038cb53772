// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/FreedMemory.h"
#include "Platform/Freedesktop/FilePages.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>
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

/// As of a program below such a folder, which the linker changes and then makes read-only.
TEST(FreedMemory, PagesThatWereChangedAreKeptWhereverTheirFileIs) {
    const QTemporaryDir home;
    ASSERT_TRUE(QDir(home.path()).mkdir(QStringLiteral("fonts")));
    QFile file(home.filePath(QStringLiteral("fonts/program")));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const auto pageSize = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    ASSERT_TRUE(file.resize(static_cast<qint64>(2 * pageSize)));
    void* const page = ::mmap(nullptr, pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE, file.handle(),
                              static_cast<off_t>(pageSize));
    ASSERT_NE(page, MAP_FAILED);
    std::memset(page, 1, pageSize);
    ASSERT_EQ(::mprotect(page, pageSize, PROT_READ), 0);
    releaseFilePages();
    EXPECT_EQ(*static_cast<char*>(page), 1);
    ::munmap(page, pageSize);
}

} // namespace
} // namespace velmorin
