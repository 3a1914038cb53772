// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"

#include <memory>
#include <vector>

namespace velmorin {

/// Plays a cycle of images on a status item, one whole cycle a beat. Made by `std::make_shared`.
/// Main thread.
///
/// While it plays, the timer keeps the icon, the item and the frames alive: whoever is done with
/// them calls `stopAnimation()`.
class AnimatedStatusIcon : public std::enable_shared_from_this<AnimatedStatusIcon> {
public:
    explicit AnimatedStatusIcon(std::shared_ptr<Timers> timers) : m_timers(std::move(timers)) {}

    /// Shows the first frame one interval from now, then the others in turn; until then the button
    /// keeps its image. The interval of 60 / `bpm` / (number of frames) seconds goes to the timer
    /// as it is. No frames, on an item with a button, end the process at the first tick.
    void startAnimation(std::shared_ptr<StatusItem> statusItem, std::vector<ImageRef> frames,
                        double bpm);

    /// Starts over at the first frame.
    void updateBPM(std::shared_ptr<StatusItem> statusItem, std::vector<ImageRef> frames,
                   double bpm);

    /// The button keeps the image that it shows.
    void stopAnimation();

    /// The number of frames that were shown since the last start.
    [[nodiscard]] qint64 frameIndex() const { return m_frameIndex; }

private:
    void showNext(StatusItem& item, const std::vector<ImageRef>& frames);

    std::shared_ptr<Timers> m_timers;
    std::shared_ptr<Timer> m_timer;
    qint64 m_frameIndex = 0;
};

/// One beat of a heart in `count` template images of `size` by `size` points: its size swells and
/// shrinks by a fifth along one sine period, and what is larger than the image is cut off. A
/// negative `count` ends the process. Without a symbol of a heart the images are blank.
[[nodiscard]] std::vector<ImageRef> generateHeartFrames(int count, double size,
                                                        SymbolImages& symbols);

} // namespace velmorin
