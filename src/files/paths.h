#pragma once

#include "files/text.h"

namespace mMain {

/// `path` ending in one separator, ready for a file name. The empty text gives the separator alone. This is
/// the only way a folder and a file name meet.
Text AddBackslash(const Text& path);

/// What stands behind the last separator of `path`, without line breaks and outer spaces.
Text GetFileName(const Text& path);

/// What stands behind the last dot of the whole path, a dot in a folder's name included; all of it if there
/// is no dot. Without line breaks and outer spaces.
Text GetFileExtension(const Text& path);

/// What stands in front of the last dot, folder included, without line breaks and outer spaces. If the file
/// name holds no dot: `path`, unchanged.
Text GetBaseName(const Text& path);

/// True if a file or a folder stands at `path`. Every problem counts as false.
bool FileExists(const Text& path);

/// Deletes the file at `path`, a read-only one too. Every error is dropped.
void ForceDelete(const Text& path);

}  // namespace mMain
