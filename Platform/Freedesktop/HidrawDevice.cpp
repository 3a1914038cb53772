// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/HidrawDevice.h"
#include "Platform/Freedesktop/SysfsFile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace velmorin {

namespace {
/// One item of a report descriptor. A short item's first byte is tag, type and size code.
struct Item {
    quint8 kind = 0; ///< Tag and type.
    qsizetype size = 0;
    quint32 data = 0;
};

constexpr quint8 kUsagePageItem = 0x04;
constexpr quint8 kUsageItem = 0x08;
constexpr quint8 kCollectionItem = 0xA0;
constexpr quint8 kLongItem = 0xFE;

/// Takes the next item off `rest`; none when it is cut off.
std::optional<Item> takeItem(QByteArrayView& rest) {
    const auto byte = [&rest](qsizetype i) { return static_cast<quint8>(rest[i]); };
    Item item{.kind = static_cast<quint8>(byte(0) & 0xFCU)};
    qsizetype header = 1;
    if (byte(0) == kLongItem) { // its size and tag follow; none is defined
        header = 3;
        item = {.kind = kLongItem, .size = rest.size() > 1 ? byte(1) : 0};
    } else {
        item.size = (byte(0) & 3U) == 3 ? 4 : byte(0) & 3U;
    }
    if (rest.size() < header + item.size) {
        return std::nullopt;
    }
    for (qsizetype i = 0; i < item.size && item.kind != kLongItem; ++i) {
        item.data |= quint32{byte(header + i)} << (8 * i);
    }
    rest = rest.sliced(header + item.size);
    return item;
}

/// A usage of four bytes brings its page along.
HidUsage hidUsage(const Item& usage, quint32 page) {
    return {static_cast<quint16>(usage.size == 4 ? usage.data >> 16U : page),
            static_cast<quint16>(usage.data)};
}
} // namespace

std::optional<HidUsage> primaryUsage(const QByteArray& reportDescriptor) {
    QByteArrayView rest(reportDescriptor);
    quint32 page = 0;
    std::optional<Item> usage;
    while (!rest.isEmpty()) {
        const std::optional<Item> item = takeItem(rest);
        if (!item) {
            return std::nullopt;
        }
        if (item->kind == kUsagePageItem) {
            page = item->data;
        } else if (item->kind == kUsageItem && !usage) {
            usage = item;
        } else if (item->kind == kCollectionItem) {
            return usage ? std::optional(hidUsage(*usage, page)) : std::nullopt;
        }
    }
    return std::nullopt;
}

QStringList HidrawDevice::folders(const QString& sysfsRoot) {
    return sysfsEntries(sysfsRoot + QStringLiteral("/class/hidraw"), QStringLiteral("hidraw*"));
}

std::optional<HidUsage> HidrawDevice::usage(const QString& folder) {
    const auto descriptor = readSysfsFile(folder + QStringLiteral("/device/report_descriptor"));
    return descriptor ? primaryUsage(*descriptor) : std::nullopt;
}

HidrawDevice::HidrawDevice(const QString& folder, const QString& devRoot)
    : m_node(devRoot + u'/' + QFileInfo(folder).fileName()) {}

HidrawDevice::~HidrawDevice() {
    close(0);
}

IOReturn HidrawDevice::open(quint32 /*options*/) {
    close(0);
    m_descriptor = ::open(QFile::encodeName(m_node).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (m_descriptor < 0) {
        return errno == EACCES || errno == EPERM ? kIOReturnNotPermitted : kIOReturnNoDevice;
    }
    listen();
    return kIOReturnSuccess;
}

IOReturn HidrawDevice::close(quint32 /*options*/) {
    m_notifier.reset();
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
    m_descriptor = -1;
    return kIOReturnSuccess;
}

void HidrawDevice::registerInputReportCallback(std::span<quint8> buffer,
                                               InputReportCallback callback, void* context) {
    m_buffer = buffer;
    m_callback = callback;
    m_context = context;
    listen();
}

bool HidrawDevice::scheduleWithMainRunLoop(RunLoopMode /*mode*/) {
    if (!qApp || QThread::currentThread() != qApp->thread()) {
        return false;
    }
    m_isScheduled = true;
    listen();
    return true;
}

void HidrawDevice::unscheduleFromMainRunLoop(RunLoopMode /*mode*/) {
    m_isScheduled = false;
    listen();
}

/// Watches the device while there is one, someone to tell, and a loop to do so from.
void HidrawDevice::listen() {
    if (m_descriptor < 0 || !m_isScheduled || !m_callback || m_buffer.empty()) {
        m_notifier.reset();
    } else if (!m_notifier) {
        m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                         [this] { readReport(); });
    }
}

/// One report a turn: the loop comes back while there are more.
void HidrawDevice::readReport() {
    const ssize_t length = ::read(m_descriptor, m_buffer.data(), m_buffer.size());
    if (length > 0) {
        m_callback(m_context, kIOReturnSuccess, m_buffer.first(static_cast<std::size_t>(length)));
    } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
        m_notifier->setEnabled(false); // gone: from now on it would be ready for ever
    }
}

} // namespace velmorin
