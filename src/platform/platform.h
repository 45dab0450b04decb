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
/// path up to its first NUL, and converts texts to the form of the host and back.
///
/// "Raises" is followed by numbers of `RuntimeError`: 52 bad file name, 53 file not found, 57 device I/O
/// error, 58 file already exists, 61 disk full, 67 too many files, 70 permission denied (locked by another
/// process), 75 path/file access error, 76 path not found. Any function may raise 7, out of memory. A
/// function that raises an error for a path also raises 52 for a bad name, 75 without the right, 76 if a
/// folder of the path is missing, and 57 for every failure that has no other number.
namespace platform {

// Messages and dialogs

inline constexpr int PlainMessage = 0;
inline constexpr int StopMessage = 16;

/// Shows a modal message box with an empty caption and one OK button. Returns when the user has dismissed it.
/// `style` is `PlainMessage` (no icon) or `StopMessage` (the stop icon).
void ShowMessage(const Text& text, int style);

/// Asks for a folder under the caption `title`. Returns its path, the empty text if the host does not know
/// the path, or nothing on a cancel.
std::optional<Text> AskForFolder(const Text& title);

/// The values of one save-file dialog.
struct SaveDialog {
  Text filterList;        ///< pairs of what is shown and its pattern, each ended by a NUL
  Text fileBuffer;        ///< the default file name, filled with spaces
  Text fileTitle;         ///< a buffer for the name without its folder, which nobody reads
  Text title;             ///< the caption
  Text defaultExtension;  ///< the host adds it to a name without an extension, if it is not empty
  std::uint32_t flags;    ///< flags of the host, passed on unchanged
};

/// Asks for the file to save. Returns the file buffer as the host fills it (the path, a NUL, the remaining
/// spaces), or nothing on a cancel and on any failure of the dialog.
std::optional<Text> AskForFileToSave(const SaveDialog& dialog);

// The process

inline constexpr int ExitSuccess = 0;
inline constexpr int ExitFailure = 1;

/// Returns the command line after the program's name, as one text.
Text RawCommandLine();

/// Returns the folder of the running executable, with or without a separator at its end. Raises 57 if the
/// host does not know it, and 52 on POSIX if it is too long.
Text AppDir();

/// Returns the file name of the running executable, with its extension if it has one. Raises what `AppDir`
/// raises.
Text ExecutableName();

/// Returns the folder for temporary files, ending in the separator, or the empty text if there is none. On
/// POSIX, raises what `AppDir` raises.
Text TempFolder();

/// Ends the process at once, without unwinding the stack.
[[noreturn]] void EndProcess(int status);

/// Starts the program that `commandLine` names first. Returns when it has ended, or at once if it could not
/// be started. `showStyle` 0 hides the tool's console, 1 shows it.
void StartAndWait(const Text& commandLine, int showStyle);

/// Does `work`. A request to end the process (such as Ctrl-C) that arrives meanwhile is not obeyed. Instead,
/// no tool is started from then on, and every path counts as missing. Raises what `work` raises.
void HoldInterruptsDuring(const std::function<void()>& work);

/// Returns the milliseconds since the machine started, in 32 bits, taken as signed.
std::int32_t TickCount();

// Text

/// The character that separates the parts of a path.
extern const wchar_t PathSeparator;

/// Returns one byte for each character, in the host's 8-bit code page. A character that it lacks becomes a
/// question mark.
std::string ToBytes(const Text& text);

/// Returns one character for each byte of the host's 8-bit code page.
Text FromBytes(const std::string& bytes);

/// Returns `text` in upper case, with the same number of characters.
Text UpperCase(const Text& text);

// Files by their path

/// Returns true if there is a file or a folder at `path`. Every problem counts as false.
bool PathExists(const Text& path);

/// Makes a file writable and, on Windows, visible. Raises 53 if there is none.
void ResetAttributes(const Text& path);

/// Deletes a file. Raises 53 if there is none, 70 if it is in use, 75 for a folder.
void Remove(const Text& path);

/// Moves a file, also across volumes. A link is moved as the file that it points to. Raises 58 if `to`
/// exists, which stays unchanged, 53 if `from` does not exist, 61, 70. After a failure the file is still at
/// `from`.
void Move(const Text& from, const Text& to);

/// Returns the bare name of the first file that matches `pattern`, whose last component is a wildcard.
/// Folders and hidden files never match. Returns nothing if there is no match or no such folder.
std::optional<Text> FirstMatch(const Text& pattern);

/// An instant in local time, as fine as the host provides it. Both functions use the present offset of local
/// time, so the difference of their results is a true age.
using LocalTime = std::chrono::local_time<std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>;

/// Returns the time of the last change of a file. Raises 53 if there is none.
LocalTime FileTime(const Text& path);

LocalTime PresentTime();

// The one open file

/// Opens a file for reading and writing at its start. Creates it if it does not exist and never truncates it.
/// At most one file is open at a time. Raises 75 for a folder, 61, 67, 70 if it is in use.
void Open(const Text& path);

/// Returns the length in bytes. Raises 57.
std::uint64_t Length();

/// Sets the position, in bytes from the start. Raises 57.
void Seek(std::uint64_t position);

/// Reads at the position until `buffer` is full or the file ends. The rest of `buffer` stays unchanged.
/// Raises 57, and 70 for a locked region.
void Read(std::span<std::byte> buffer);

/// Writes all of `bytes` at the position, which moves to their end. Raises 57, 61, and 70 for a locked
/// region.
void Write(std::span<const std::byte> bytes);

/// Closes the file, also if it raises 57 or 61 because an earlier write failed.
void Close();

}  // namespace platform
