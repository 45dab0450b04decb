#include "fake_platform.h"

#include <algorithm>
#include <cwctype>

#include "platform/file_errors.h"
#include "run/main.h"

namespace fake {
namespace {

/// Counts an operation that can fail, and fails it if it is its turn.
void Count(const Text& what) {
  host.trace.push_back(what);
  if (++host.operations == host.raiseAt) throw host.raised;
}

File& Existing(const Text& path) {
  const auto file = host.files.find(mMain::CutAtNul(path));
  if (file == host.files.end()) throw platform::FileNotFound;
  return file->second;
}

}  // namespace

Text OutputOf(const Text& line) {
  const std::size_t start =
      line.find(L"-o \"") == Text::npos ? line.rfind(L'"', line.size() - 2) : line.find(L"-o \"") + 3;
  return line.substr(start + 1, line.find(L'"', start + 1) - start - 1);
}

void Succeed(const Text& line) {
  host.files[OutputOf(line)] = {"made by " + platform::ToBytes(line.substr(0, line.find(L'"', 1))), host.now};
}

void Reset(const Text& commandLine) {
  host = Host();
  host.commandLine = commandLine;
  host.tool = Succeed;
  mMain::RunState = {};
}

Text Trace() {
  Text lines;
  for (std::size_t i = 0, count = 0; i < host.trace.size(); i += count, count = 0) {
    while (i + count < host.trace.size() && host.trace[i + count] == host.trace[i]) ++count;
    lines += host.trace[i] + (count > 1 ? L" x " + std::to_wstring(count) : L"") + L"\n";
  }
  return lines;
}

int Run() {
  try {
    return mMain::Main();
  } catch (const ProcessEnded& end) {
    return end.status;
  }
}

}  // namespace fake

namespace platform {

using namespace fake;

const wchar_t PathSeparator = L'\\';

void ShowMessage(const Text& text, int style) {
  host.messages.push_back(L"[" + std::to_wstring(style) + L"] " + text);
  host.trace.push_back(L"message");
}

std::optional<Text> AskForFolder(const Text& title) {
  host.trace.push_back(L"browse " + title);
  return host.chosenFolder;
}

std::optional<Text> AskForFileToSave(const SaveDialog& dialog) {
  host.trace.push_back(L"save dialog");
  host.dialog = dialog;
  return host.savedFile;
}

Text RawCommandLine() {
  host.trace.push_back(L"command line");
  return host.commandLine;
}

Text AppDir() {
  return L"C:\\tools";
}

Text ExecutableName() {
  return host.executable;
}

Text TempFolder() {
  return host.tempFolder;
}

void EndProcess(int status) {
  throw fake::ProcessEnded{status};
}

void StartAndWait(const Text& commandLine, int showStyle) {
  host.trace.push_back(L"run " + std::to_wstring(showStyle) + L" " + commandLine);
  host.tool(commandLine);
}

std::int32_t TickCount() {
  host.trace.push_back(L"ticks");
  const std::int32_t ticks = host.ticks.front();
  if (host.ticks.size() > 1) host.ticks.erase(host.ticks.begin());
  return ticks;
}

std::string ToBytes(const Text& text) {
  return {text.begin(), text.end()};
}

Text FromBytes(const std::string& bytes) {
  return {bytes.begin(), bytes.end()};
}

Text UpperCase(const Text& text) {
  Text upper = text;
  std::ranges::transform(upper, upper.begin(), [](wchar_t c) { return c >= L'a' && c <= L'z' ? c - 32 : c; });
  return upper;
}

bool PathExists(const Text& path) {
  const Text known = mMain::CutAtNul(path);
  return host.files.contains(known) || host.folders.contains(known);
}

void ResetAttributes(const Text& path) {
  Count(L"reset " + path);
  Existing(path);
}

void Remove(const Text& path) {
  Count(L"delete " + path);
  Existing(path);
  host.files.erase(path);
}

void Move(const Text& from, const Text& to) {
  Count(L"move " + from + L" > " + to);
  const File file = Existing(from);
  if (PathExists(to)) throw FileAlreadyExists;
  host.files.erase(from);
  host.files[to] = file;
}

std::optional<Text> FirstMatch(const Text& pattern) {
  host.trace.push_back(L"match " + pattern);
  const std::size_t star = pattern.find(L'*');
  for (const auto& [path, file] : host.files) {
    const bool inFolder = path.starts_with(pattern.substr(0, star)) && path.find(L'\\', star) == Text::npos;
    if (inFolder && path.ends_with(pattern.substr(star + 1))) return path.substr(star);
  }
  return std::nullopt;
}

LocalTime FileTime(const Text& path) {
  Count(L"time of " + path);
  return LocalTime(std::chrono::seconds(Existing(path).second));
}

LocalTime PresentTime() {
  host.trace.push_back(L"now");
  return LocalTime(std::chrono::seconds(host.now));
}

void Open(const Text& path) {
  Count(L"open " + path);
  if (host.open) throw RuntimeError(55, L"two files open at a time");
  if (host.folders.contains(path)) throw AccessError;
  host.open = mMain::CutAtNul(path);
  host.position = 0;
  host.files.try_emplace(*host.open, File{"", host.now});
}

std::uint64_t Length() {
  return Existing(*host.open).bytes.size();
}

void Seek(std::uint64_t position) {
  host.position = static_cast<std::size_t>(position);
}

void Read(std::span<std::byte> buffer) {
  Count(L"read");
  const std::string& bytes = Existing(*host.open).bytes;
  const std::size_t start = std::min<std::size_t>(host.position, bytes.size());
  const std::size_t count = std::min(buffer.size(), bytes.size() - start);
  std::ranges::copy(std::as_bytes(std::span(bytes)).subspan(start, count), buffer.begin());
  host.position += count;
}

void Write(std::span<const std::byte> bytes) {
  Count(L"write");
  std::string& file = Existing(*host.open).bytes;
  file.resize(std::max<std::size_t>(file.size(), host.position + bytes.size()), '\0');
  std::ranges::copy(
      bytes, std::as_writable_bytes(std::span(file)).begin() + static_cast<std::ptrdiff_t>(host.position));
  host.position += bytes.size();
}

void Close() {
  host.trace.push_back(L"close");
  host.open.reset();
}

}  // namespace platform
