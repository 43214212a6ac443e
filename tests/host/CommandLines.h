#pragma once

#include <functional>
#include <sstream>
#include <string>

namespace Mivora::tests {

/// Calls `obey` on the main thread with each line of the standard input, split into the command
/// and the rest, until the main loop is told to quit: by the command "quit" or the end of the
/// input. The reading thread is left to the end of the process.
void obeyLines(
    const std::function<void(const std::string& command, std::istringstream& rest)>& obey);

/// Ends the process after everything has been printed, without waiting for the reading thread.
[[noreturn]] void endProgram();

}  // namespace Mivora::tests
