// SPDX-License-Identifier: MIT
#include "SharedCore/AnimatedStatusIcon.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

namespace velmorin {

void AnimatedStatusIcon::startAnimation(std::shared_ptr<StatusItem> statusItem,
                                        std::vector<ImageRef> frames, double bpm) {
    stopAnimation();
    const double interval = 60.0 / bpm / static_cast<double>(frames.size());
    m_timer = m_timers->scheduledRepeatingTimer(
        interval, [self = shared_from_this(), item = std::move(statusItem),
                   frames = std::move(frames)] { self->showNext(*item, frames); });
}

void AnimatedStatusIcon::updateBPM(std::shared_ptr<StatusItem> statusItem,
                                   std::vector<ImageRef> frames, double bpm) {
    startAnimation(std::move(statusItem), std::move(frames), bpm);
}

void AnimatedStatusIcon::stopAnimation() {
    if (const auto timer = std::exchange(m_timer, nullptr)) {
        timer->invalidate();
    }
    m_frameIndex = 0;
}

void AnimatedStatusIcon::showNext(StatusItem& item, const std::vector<ImageRef>& frames) {
    if (StatusBarButton* button = item.button()) {
        if (frames.empty()) {
            qFatal("An animation without frames");
        }
        button->setImage(frames[static_cast<size_t>(m_frameIndex) % frames.size()]);
    }
    if (m_frameIndex == std::numeric_limits<qint64>::max()) {
        qFatal("The frame counter overflowed");
    }
    ++m_frameIndex;
}

std::vector<ImageRef> generateHeartFrames(int count, double size, SymbolImages& symbols) {
    if (count < 0) {
        qFatal("A negative number of frames");
    }
    const ImageRef heart = symbols.imageWithSystemSymbolName(QStringLiteral("heart.fill"), {});
    std::vector<ImageRef> frames;
    frames.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const double pulse =
            std::sin(2 * (static_cast<double>(i) / count * std::numbers::pi)) * 0.2;
        const double side = (1.0 + pulse) * size;
        const double inset = (size - side) * 0.5;
        auto frame = std::make_shared<Image>(QSizeF(size, size));
        if (heart) {
            frame->draw(*heart, QRectF(inset, inset, side, side));
        }
        frame->setTemplate(true);
        frames.push_back(std::move(frame));
    }
    return frames;
}

} // namespace velmorin
