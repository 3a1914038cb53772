// SPDX-License-Identifier: MIT
#pragma once

namespace velmorin {

/// Takes the pages of the program's and its libraries' code and constants, and of fonts, out of
/// this process, and gives freed memory back. What is still used is there again at its next use,
/// from the system's cache of files, for the price of a page fault; what was only needed to start
/// and to draw stays away. Main thread, which is the one that opens and closes fonts.
void releaseFilePages();

} // namespace velmorin
