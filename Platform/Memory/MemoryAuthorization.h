// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Authorization.h"

#include <utility>
#include <vector>

namespace velmorin {

/// A user who answers when the test lets him.
class MemoryAuthorization : public Authorization {
public:
    [[nodiscard]] AuthorizationStatus audioCaptureStatus() override { return status; }

    void requestAudioCapture(std::function<void(bool)> handler) override {
        audioRequests.push_back(std::move(handler));
    }

    void
    requestFullAccessToEvents(std::function<void(bool, const QString& error)> handler) override {
        eventRequests.push_back(std::move(handler));
    }

    AuthorizationStatus status = AuthorizationStatus::notDetermined;
    std::vector<std::function<void(bool)>> audioRequests;
    std::vector<std::function<void(bool, const QString& error)>> eventRequests;
};

} // namespace velmorin
