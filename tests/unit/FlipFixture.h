// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Memory/MemoryPlatform.h"
#include "Velmorin/AppDelegate.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmorin {

using Messages = std::vector<std::string>;

/// A delegate in an in-memory session whose focused application has one text field.
struct FlipFixture {
    FlipFixture() {
        platform.keyEvents->onPost = [this](const MemoryKeyEvents::Posted& key) { typed(key); };
    }

    /// The log's lines so far, without their time stamps.
    [[nodiscard]] Messages messages() const {
        platform.mainQueue->advance({});
        Messages messages;
        for (const QString& entry : log->entries()) {
            messages.push_back(entry.section(QStringLiteral("] "), 1).toStdString());
        }
        return messages;
    }

    [[nodiscard]] std::string lastMessage() const {
        const Messages all = messages();
        return all.empty() ? std::string() : all.back();
    }

    [[nodiscard]] std::optional<QString> clipboard() const { return platform.pasteboard->text(); }

    MemoryPlatform platform;
    std::shared_ptr<VelmorinStore> store =
        std::make_shared<VelmorinStore>(platform.standardUserDefaults);
    std::shared_ptr<LiveLog> log = std::make_shared<LiveLog>(platform.mainQueue, platform.clock);
    std::shared_ptr<AppDelegate> delegate = std::make_shared<AppDelegate>(
        platform.platform(), store, log,
        std::make_shared<LaunchWindowController>(platform.platform()));

    QString field;           ///< What the text field shows.
    bool fieldCopies = true; ///< Off for an application that does not answer Command-C.

private:
    void typed(const MemoryKeyEvents::Posted& key) {
        if (!key.keyDown || key.flags != kCGEventFlagMaskCommand) {
            return;
        }
        if (key.keyCode == kVK_ANSI_A) {
            m_allSelected = true;
        } else if (key.keyCode == kVK_ANSI_C && m_allSelected && fieldCopies && !field.isEmpty()) {
            platform.pasteboard->copyElsewhere(field);
        } else if (key.keyCode == kVK_ANSI_V && m_allSelected) {
            field = clipboard().value_or(QString());
        }
    }

    bool m_allSelected = false;
};

} // namespace velmorin
