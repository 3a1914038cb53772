// SPDX-License-Identifier: MIT
#pragma once

namespace velmorin {

/// Keeps what is freed for what is allocated next, also of large blocks: a long text passes through
/// many, and to fetch new pages for each costs more than what is done with the text. Before any
/// other thread is started.
void keepFreedMemory();

/// Gives the system back what is kept, if this process has grown more than a little since it did so
/// last. Main thread.
void releaseFreedMemory();

} // namespace velmorin
