// SPDX-License-Identifier: MIT
#include "Platform/MakePlatform.h"
#include "Velmorin/AppDelegate.h"

#include <QCoreApplication>

#include <cstdio>

namespace velmorin {

namespace {

/// Shows the live log on standard output as well, for scripts that watch the program. No line of
/// the log holds any of the user's text.
void printLog(const LiveLog& log) {
    QObject::connect(&log, &LiveLog::entriesChanged, &log, [&log] {
        if (!log.entries().isEmpty()) {
            std::puts(log.entries().constLast().toUtf8().constData());
            std::fflush(stdout);
        }
    });
}

} // namespace

/// The program's entry.
class VelmorinEntry {
public:
    [[nodiscard]] static int main(int& argc, char** argv) {
        QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("velmorin"));
        QString error;
        std::optional<Platform> platform = makePlatform(error);
        if (!platform) {
            std::fprintf(stderr, "velmorin: %s\n", error.toUtf8().constData());
            return 1;
        }
        Platform::setProcess(*std::move(platform));
        if (qEnvironmentVariableIntValue("VELMORIN_PRINT_LOG") != 0) {
            printLog(*LiveLog::shared());
        }
        delegateRetention = std::make_shared<AppDelegate>(
            Platform::process(), VelmorinStore::shared(), LiveLog::shared());
        Platform::process().mainQueue->async(
            [] { delegateRetention->applicationDidFinishLaunching(); });
        const int status = QCoreApplication::exec();
        delegateRetention.reset();
        Platform::setProcess({});
        return status;
    }

private:
    static std::shared_ptr<AppDelegate> delegateRetention;
};

std::shared_ptr<AppDelegate> VelmorinEntry::delegateRetention;

} // namespace velmorin

int main(int argc, char** argv) {
    return velmorin::VelmorinEntry::main(argc, argv);
}
