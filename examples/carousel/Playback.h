#pragma once

#include <MivoraMac/MivoraMac.h>
#include <memory>
#include <string>

/// Plays a scripted pointer, scripted fingers and some keys over the carousel and writes what is
/// seen as PNG files into a folder: `frame-00.png` and so on, and `contact-sheet.png` with all of
/// them. Needs no display.
///
/// @param application  inactive; its render view and its window hold the carousel
/// @param folder       made if need be
/// @return whether every file could be written; a line on the standard error stream says which not
bool playBack(const std::shared_ptr<MVApplication>& application, const std::string& folder);
