// SPDX-License-Identifier: MIT
#include "Platform/MakePlatform.h"
#include "Velmorin/AppDelegate.h"
#include "Velmorin/CommandLine.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <variant>

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
        const auto answer = answerToCommandLine(
            {argv + std::min(argc, 1), static_cast<size_t>(std::max(argc - 1, 0))});
        if (answer) {
            std::fputs(answer->output.c_str(), stdout);
            std::fputs(answer->error.c_str(), stderr);
            return answer->exitStatus;
        }
        QCoreApplication::setApplicationName(QStringLiteral("velmorin"));
        auto made = makePlatform(argc, argv);
        if (const auto* end = std::get_if<EarlyEnd>(&made)) {
            if (!end->message.isEmpty()) {
                std::fprintf(stderr, "velmorin: %s\n", end->message.toUtf8().constData());
            }
            return end->exitStatus;
        }
        Platform::setProcess(std::get<Platform>(std::move(made)));
        const std::shared_ptr<Application> application = Platform::process().application;
        application->setActivationPolicy(ActivationPolicy::regular);
        if (qEnvironmentVariableIntValue("VELMORIN_PRINT_LOG") != 0) {
            printLog(*LiveLog::shared());
        }
        delegateRetention =
            std::make_shared<AppDelegate>(Platform::process(), VelmorinStore::shared(),
                                          LiveLog::shared(), LaunchWindowController::shared());
        application->setDelegate(delegateRetention);
        const int status = application->run();
        delegateRetention.reset();
        Platform::setProcess({});
        return status;
    }

private:
    /// Like the process's platform never destroyed by the end of the process.
    static inline auto& delegateRetention = *new std::shared_ptr<AppDelegate>();
};

} // namespace velmorin

int main(int argc, char** argv) {
    return velmorin::VelmorinEntry::main(argc, argv);
}
