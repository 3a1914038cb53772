// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/FilePages.h"

#include <QFile>

#include <algorithm>
#include <bit>
#include <span>
#include <string_view>

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace velmorin {

namespace {

/// Whether the linker changes code when it loads the object. No library of Debian's has that, but a
/// foreign one may.
bool hasChangedCode(const dl_phdr_info& object) {
    const std::span segments(object.dlpi_phdr, object.dlpi_phnum);
    const auto found = std::ranges::find(segments, ElfW(Word){PT_DYNAMIC}, &ElfW(Phdr)::p_type);
    if (found == segments.end()) {
        return true; // not known
    }
    const auto* entry = std::bit_cast<const ElfW(Dyn)*>(object.dlpi_addr + found->p_vaddr);
    for (; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_TEXTREL ||
            (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_TEXTREL) != 0)) {
            return true;
        }
    }
    return false;
}

/// Segments that are loaded writable are left alone: they were changed when they were linked.
/// Breakpoints that a debugger has set in the others are gone.
int releaseObject(dl_phdr_info* object, size_t /*size*/, void* /*context*/) {
    if (std::string_view(object->dlpi_name).starts_with("linux-vdso") || hasChangedCode(*object)) {
        return 0; // no file, or not as it is in the file
    }
    const auto pageSize = static_cast<ElfW(Addr)>(::sysconf(_SC_PAGESIZE));
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = object->dlpi_phdr[i];
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_W) == 0) {
            const ElfW(Addr) begin = (object->dlpi_addr + segment.p_vaddr) & ~(pageSize - 1);
            const ElfW(Addr) end = object->dlpi_addr + segment.p_vaddr + segment.p_memsz;
            ::madvise(std::bit_cast<void*>(begin), end - begin, MADV_DONTNEED);
        }
    }
    return 0;
}

/// Font files are mapped into memory as long as a font is in use, from their beginning. Not so what
/// a program that lies below such a folder has changed before it made it read-only.
void releaseFonts() {
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly)) {
        return;
    }
    const QList<QByteArray> lines = maps.readAll().split('\n');
    for (const QByteArray& line : lines) {
        // "BEGIN-END PERMISSIONS OFFSET DEVICE INODE PATH", see proc(5).
        const bool isFont = line.contains(" r--p 00000000 ") && line.contains("/fonts/");
        const qsizetype dash = line.indexOf('-');
        const quintptr begin = line.left(dash).toULongLong(nullptr, 16);
        const quintptr end =
            line.mid(dash + 1, line.indexOf(' ') - dash - 1).toULongLong(nullptr, 16);
        if (isFont && begin < end) {
            ::madvise(std::bit_cast<void*>(begin), end - begin, MADV_DONTNEED);
        }
    }
}

} // namespace

void releaseFilePages() {
    releaseFonts();
    ::dl_iterate_phdr(releaseObject, nullptr);
    ::malloc_trim(0);
}

} // namespace velmorin
