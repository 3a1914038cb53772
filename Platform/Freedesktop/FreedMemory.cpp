// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/FreedMemory.h"

#include <QFile>

#include <algorithm>

#include <malloc.h>
#include <unistd.h>

namespace velmorin {

namespace {

constexpr int kMiB = 1024 * 1024;
constexpr int kLargestKept = 32 * kMiB; ///< The greatest that glibc takes.
constexpr int kMostKept = 128 * kMiB;
constexpr qint64 kLeastReleased = qint64{4} * kMiB;

/// Of memory that is no file's. 0 when it is not known.
qint64 residentBytes() {
    QFile file(QStringLiteral("/proc/self/statm")); // "SIZE RESIDENT SHARED ...", see proc(5)
    const QList<QByteArray> pages =
        file.open(QIODevice::ReadOnly) ? file.readAll().split(' ') : QList<QByteArray>();
    return pages.size() < 3
               ? 0
               : (pages[1].toLongLong() - pages[2].toLongLong()) * ::sysconf(_SC_PAGESIZE);
}

} // namespace

void keepFreedMemory() {
    ::mallopt(M_MMAP_THRESHOLD, kLargestKept);
    ::mallopt(M_TRIM_THRESHOLD, kMostKept);
    // Only the first arena is given back as a whole, and what one thread frees serves the others.
    ::mallopt(M_ARENA_MAX, 1);
}

void releaseFreedMemory() {
    // Not what malloc calls free: that may have been given back before.
    static qint64 least = 0;
    const qint64 resident = residentBytes();
    if (resident < least + kLeastReleased) {
        least = std::min(least, resident);
        return;
    }
    ::malloc_trim(0);
    least = residentBytes();
}

} // namespace velmorin
