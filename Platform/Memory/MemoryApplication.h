// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Application.h"
#include "Platform/Workspace.h"

#include <optional>
#include <vector>

namespace velmorin {

/// Remembers what it was asked for. Its event loop is the test.
class MemoryApplication : public Application {
public:
    void setActivationPolicy(ActivationPolicy newPolicy) override { policy = newPolicy; }

    void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) override {
        m_delegate = std::move(delegate);
    }
    [[nodiscard]] std::shared_ptr<ApplicationDelegate> delegate() const override {
        return m_delegate.lock();
    }

    void activateIgnoringOtherApps() override { ++activations; }

    [[nodiscard]] int run() override { return 0; }

    std::optional<ActivationPolicy> policy;
    int activations = 0;

private:
    std::weak_ptr<ApplicationDelegate> m_delegate;
};

/// Opens nothing, and remembers what.
class MemoryWorkspace : public Workspace {
public:
    bool openUrl(const QUrl& url) override {
        opened.push_back(url);
        return true;
    }

    std::vector<QUrl> opened;
};

} // namespace velmorin
