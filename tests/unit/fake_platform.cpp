#include "fake_platform.h"

#include <algorithm>
#include <cstring>

#include "platform/file_errors.h"

using fake::host;

namespace platform {

const wchar_t PathSeparator = L'\\';

/// An operation on a file that must exist. It fails when it is the operation `failAt`.
fake::File& Reach(const Text& path, bool isDeletion = false) {
  if (++host.operations == host.failAt) {
    host.deletionFailed = isDeletion;
    throw DeviceError;
  }
  const auto file = host.files.find(mMain::CutAtNul(path));
  if (file == host.files.end()) throw FileNotFound;
  return file->second;
}

void RequireNoOpenFile() {
  if (!host.open.empty()) throw PermissionDenied;
}

void ShowMessage(const Text& text, int style) {
  host.messages += host.hasMemory ? std::to_wstring(style) + L" " + text : throw std::bad_alloc();
}

Text RawCommandLine() { return host.hasMemory ? host.commandLine : throw std::bad_alloc(); }

Text AppDir() { return L"C:\\tools"; }

Text ExecutableName() { return L"my.program.EXE"; }

Text TempFolder() { return L"C:\\Temp\\"; }

void EndProcess(int status) { throw fake::ProcessEnd{status}; }

/// As Windows returns them: the rest of the buffer follows the NUL.
std::optional<Text> AskForFolder(const Text&) { return Text(L"C:\\dc\0\0", 7); }

std::optional<Text> AskForFileToSave(const SaveDialog&) { return Text(L" C:\\x.cdi\0   ", 13); }

void HoldInterruptsDuring(const std::function<void()>& work) { work(); }

/// Every tool creates its output: the path after "-o", or else the last path.
void StartAndWait(const Text& commandLine, int) {
  RequireNoOpenFile();
  const std::size_t option = commandLine.find(L"-o ");
  const std::size_t start = option == Text::npos ? commandLine.rfind(L" \"") + 2 : option + 4;
  const Text output = commandLine.substr(start, commandLine.find(L'"', start) - start);
  host.ticks += host.ticksPerTool;
  host.files[output] = {"made by " + ToBytes(commandLine), host.now - host.ageOfOutput};
}

std::int32_t TickCount() { return host.ticks; }

std::string ToBytes(const Text& text) {
  std::string bytes;
  for (const wchar_t c : text) bytes += c < 0x80 ? static_cast<char>(c) : '?';
  return bytes;
}

Text FromBytes(const std::string& bytes) { return {bytes.begin(), bytes.end()}; }

Text UpperCase(const Text& text) {
  Text upper = text;
  for (wchar_t& c : upper) c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - 32) : c;
  return upper;
}

bool PathExists(const Text& path) { return path == L"C:\\dc" || host.files.contains(mMain::CutAtNul(path)); }

void ResetAttributes(const Text& path) { Reach(path, true); }

void Remove(const Text& path) {
  Reach(path, true);
  host.files.erase(path);
}

void Move(const Text& from, const Text& to) {
  RequireNoOpenFile();
  const fake::File file = Reach(from);
  if (PathExists(to)) throw FileAlreadyExists;
  host.files.erase(from);
  host.files[to] = file;
}

std::optional<Text> FirstMatch(const Text&) {
  if (host.files.contains(L"C:\\dc\\demo.elf")) return L"demo.elf";
  return std::nullopt;
}

LocalTime FileTime(const Text& path) { return Reach(path).changed; }

LocalTime PresentTime() { return host.now; }

void Open(const Text& path) {
  RequireNoOpenFile();
  host.files.try_emplace(mMain::CutAtNul(path));
  Reach(path);
  host.open = path;
  host.position = 0;
}

std::uint64_t Length() { return Reach(host.open).bytes.size(); }

void Seek(std::uint64_t position) {
  Reach(host.open);
  host.position = static_cast<std::size_t>(position);
}

void Read(std::span<std::byte> buffer) {
  std::string rest = Reach(host.open).bytes;
  rest.erase(0, host.position);
  std::memcpy(buffer.data(), rest.data(), std::min(buffer.size(), rest.size()));
}

void Write(std::span<const std::byte> bytes) {
  fake::File& file = Reach(host.open);
  file.changed = host.now;
  file.bytes.resize(std::max(file.bytes.size(), host.position + bytes.size()));
  std::memcpy(file.bytes.data() + host.position, bytes.data(), bytes.size());
  host.position += bytes.size();
}

void Close() {
  Reach(host.open);
  host.open.clear();
}

}  // namespace platform
