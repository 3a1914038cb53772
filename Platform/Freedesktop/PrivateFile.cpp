// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/PrivateFile.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <sys/stat.h>

namespace velmorin {

int makePrivateDirectory(const QString& path) {
    if (QFileInfo(path).isDir()) {
        return 0;
    }
    const QString parent = QFileInfo(path).path();
    if (const int error = parent == path ? 0 : makePrivateDirectory(parent); error != 0) {
        return error;
    }
    const bool isMade = ::mkdir(QFile::encodeName(path).constData(), 0700) == 0;
    return isMade || errno == EEXIST ? 0 : errno;
}

int makePrivateFile(const QString& path) {
    if (const int error = makePrivateDirectory(QFileInfo(path).path()); error != 0) {
        return error;
    }
    const bool isMade = ::mknod(QFile::encodeName(path).constData(), S_IFREG | 0600, 0) == 0;
    return isMade || errno == EEXIST ? 0 : errno;
}

} // namespace velmorin
