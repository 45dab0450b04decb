#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ratio>
#include <span>
#include <string>

#include "files/text.h"

/// What the logic requires of its host. The build links one implementation of these functions. Each reads a
/// path up to its first NUL and converts texts to the host's own form and back.
///
/// Where a comment says "raises", the numbers are those of `RuntimeError`: 7 out of memory, 52 bad file name,
/// 53 file not found, 57 device I/O error, 58 file already exists, 61 disk full, 67 too many files,
/// 70 permission denied (locked by another process), 75 path/file access error, 76 path not found.
namespace platform {

// Speaking to the user

inline constexpr int PlainMessage = 0;
inline constexpr int StopMessage = 16;

/// Shows a modal message box with an empty caption and one OK button, and returns when the user has
/// dismissed it. `style` is `PlainMessage` (no icon) or `StopMessage` (the stop icon).
void ShowMessage(const Text& text, int style);

/// Asks for a folder under the caption `title`. Gives its path, the empty text if the host could not tell it,
/// or nothing on a cancel.
std::optional<Text> AskForFolder(const Text& title);

/// The values of one save-file dialog.
struct SaveDialog {
  Text filterList;        ///< pairs of what is shown and its pattern, each ended by a NUL
  Text fileBuffer;        ///< the default file name, filled with spaces
  Text fileTitle;         ///< a buffer for the name without its folder; nobody reads it back
  Text title;             ///< the caption
  Text defaultExtension;  ///< added by the host to a name without one, if not empty
  std::uint32_t flags;    ///< the host's own flags, passed on unchanged
};

/// Asks for the file to save. Gives the file buffer as the host delivers it (the path, a NUL, what is left of
/// the spaces), or nothing on a cancel and on any failure of the dialog.
std::optional<Text> AskForFileToSave(const SaveDialog& dialog);

// The process

inline constexpr int ExitSuccess = 0;
inline constexpr int ExitFailure = 1;

/// The command line behind the program's own name, as one text.
Text RawCommandLine();

/// The folder that holds the running executable, with or without a separator at its end. Raises 57 if the
/// host does not tell it.
Text AppDir();

/// The file name of the running executable, with its extension if it has one. Raises 57 likewise.
Text ExecutableName();

/// The folder for temporary files, ending in the separator, or the empty text if none can be had.
Text TempFolder();

/// Ends the process at once: nothing is unwound.
[[noreturn]] void EndProcess(int status);

/// Starts the program that `commandLine` names first, and returns when it has ended, or at once if it could
/// not be started. `showStyle` 0 hides the tool's console, 1 shows it.
void StartAndWait(const Text& commandLine, int showStyle);

/// Does `work`. A request to end the process (such as Ctrl-C) that arrives meanwhile is obeyed only
/// afterwards: tools are no longer started, and every path counts as missing. Raises what `work` raises.
void HoldInterruptsDuring(const std::function<void()>& work);

/// Milliseconds since the machine started, in 32 bits, taken as signed.
std::int32_t TickCount();

// Text

/// The character that separates the parts of a path.
extern const wchar_t PathSeparator;

/// One byte for each character in the host's 8-bit code page; one that does not fit becomes a question mark.
std::string ToBytes(const Text& text);

/// One character for each byte of the host's 8-bit code page.
Text FromBytes(const std::string& bytes);

/// `text` in upper case, with as many characters.
Text UpperCase(const Text& text);

// Files by their path

/// True if a file or a folder stands at `path`. Every problem counts as false.
bool PathExists(const Text& path);

/// Makes a file an ordinary one: not read-only, not hidden. Raises 53 if there is none, 75 without the right.
void ResetAttributes(const Text& path);

/// Deletes a file. Raises 53 if there is none, 70 if it is in use, 75 without the right or for a folder.
void Remove(const Text& path);

/// Moves a file, across volumes too, or what a link leads to. Raises 58 if something stands at `to`, which
/// stays as it is; 53 without a file at `from`, 76 without the folder of `to`, 61, 70, 75. Whatever it
/// raises, the file still stands at `from`.
void Move(const Text& from, const Text& to);

/// The bare name of the first entry that matches `pattern`, whose last component is a wildcard. Folders and
/// hidden files never match. No match, and no folder to look into, give nothing.
std::optional<Text> FirstMatch(const Text& pattern);

/// An instant in local time, as finely as the host tells it. Both functions count local time by the offset
/// that holds now, so that the difference of their results is a true age.
using LocalTime = std::chrono::local_time<std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>;

/// When the file was last changed. Raises 53 if there is none.
LocalTime FileTime(const Text& path);

LocalTime PresentTime();

// The one open file

/// Opens the file for reading and writing, creates it empty if it does not exist and never truncates it; the
/// position is at the start. At most one file is open at a time. Raises 75 for a folder or without the right,
/// 76 without its folder, 70 if it is in use, 61, 67.
void Open(const Text& path);

/// The length in bytes. Raises 57.
std::uint64_t Length();

/// Sets the position, in bytes from the start. Raises 57.
void Seek(std::uint64_t position);

/// Reads from the position on until `buffer` is full or the file ends; what was not read stays as it was.
/// Raises 57, and 70 for a locked place.
void Read(std::span<std::byte> buffer);

/// Writes all of `bytes` at the position, which moves behind them. Raises 57, 61, and 70 for a locked place.
void Write(std::span<const std::byte> bytes);

/// Closes the file. Raises 57 or 61 if only now shows that something could not be written; it is closed all
/// the same.
void Close();

}  // namespace platform
