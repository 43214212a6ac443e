#pragma once

#include <string>

class MVInteraction;
class MVView;

/// The lines that `MIVORA_DEBUG=events` writes: one for the begin and one for the end of everything
/// that the pointer does to a view, and for keys and the focus.
struct MVEventLog {
    /// Writes what happened, in which view and where in it. While the log is off this costs one
    /// load and one branch.
    static void write(const char* what, const MVInteraction& interaction);

    /// What a view is called in these lines: its debug name in quotes, or else its class.
    static std::string nameOf(const MVView& view);
};
