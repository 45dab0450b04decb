#pragma once

#include "files/text.h"

namespace mMain {

/// Returns `path` with a separator at its end, ready for a file name. An empty path returns the separator
/// alone. Nothing else joins a folder and a file name.
Text AddBackslash(const Text& path);

/// Returns the text after the last separator of `path`, without line breaks and outer spaces.
Text GetFileName(const Text& path);

/// Returns the text after the last dot of the whole path, even if the dot is in a folder's name, or the whole
/// path if there is no dot. Removes line breaks and outer spaces.
Text GetFileExtension(const Text& path);

/// Returns the text before the last dot, folder included, without line breaks and outer spaces. Returns
/// `path` unchanged if the file name contains no dot.
Text GetBaseName(const Text& path);

/// Returns true if a file or a folder exists at `path`. Every error counts as false.
bool FileExists(const Text& path);

/// Deletes the file at `path`, even if it is read-only. Ignores every error.
void ForceDelete(const Text& path);

}  // namespace mMain
