// SPDX-License-Identifier: MIT
// What the window's log costs: a line that is shown, and a burst that fills the log anew.
#include "Platform/Memory/MemoryPlatform.h"
#include "Platform/Qt/QtWindows.h"
#include "SharedUI/AppLaunchContainer.h"
#include "Velmorin/VelmorinMainView.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

#include <benchmark/benchmark.h>

using namespace velmorin;

namespace {

/// Adds lines and draws the window, as often as it is measured.
void logLines(benchmark::State& state) {
    MemoryPlatform platform;
    Platform::setProcess(platform.platform());
    {
        VelmorinMainView view(platform.platform(), VelmorinStore::shared(), LiveLog::shared());
        QtWindows windows(platform.mainQueue, platform.standardUserDefaults);
        const auto window = windows.window({480, 680});
        window->setContentView(
            AppLaunchContainer(QStringLiteral("Velmorin"), [&] { return view.body(); }).body());
        window->makeKeyAndOrderFront();
        auto* const shown =
            qobject_cast<QQuickWindow*>(QGuiApplication::topLevelWindows().constFirst());
        while (shown->contentItem()->childItems().empty()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        for (auto _ : state) {
            for (int64_t i = 0; i < state.range(0); ++i) {
                LiveLog::shared()->add(QStringLiteral("Trying AX direct text access…"));
            }
            platform.mainQueue->advance({});
            benchmark::DoNotOptimize(shown->grabWindow());
        }
    }
    Platform::setProcess({});
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The drawing alone, which is a part of the above.
BENCHMARK(logLines)->Arg(0)->Arg(1)->Arg(300)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
