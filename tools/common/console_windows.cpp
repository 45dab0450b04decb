#include <windows.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <iterator>
#include <ostream>
#include <streambuf>

namespace tools {
namespace {

/// Passes text of this program's code page to a console as wide text. The console has another code page, and
/// a changed one would stay when this program is killed.
class ConsoleBuffer : public std::streambuf {
 public:
  explicit ConsoleBuffer(HANDLE console) : console_(console) { setp(text_.begin(), text_.end()); }

 protected:
  int sync() override { return Write(pptr()) ? 0 : -1; }

  /// The lines that are complete make room. The last one may end within a character.
  int_type overflow(int_type character) override {
    const auto lastBreak =
        std::find(std::make_reverse_iterator(pptr()), std::make_reverse_iterator(pbase()), '\n');
    if (!Write(lastBreak.base() == pbase() ? pptr() : lastBreak.base())) return traits_type::eof();
    return traits_type::eq_int_type(character, traits_type::eof())
               ? traits_type::not_eof(character)
               : sputc(traits_type::to_char_type(character));
  }

 private:
  /// Writes what comes before `end`, and moves the rest to the start of the buffer.
  bool Write(const char* end) {
    const int length = ::MultiByteToWideChar(CP_ACP, 0, pbase(), static_cast<int>(end - pbase()),
                                             wide_.data(), static_cast<int>(wide_.size()));
    DWORD written = 0;
    const bool done =
        length == 0 || ::WriteConsoleW(console_, wide_.data(), static_cast<DWORD>(length), &written, nullptr);
    const auto rest = static_cast<int>(pptr() - end);
    std::copy(end, static_cast<const char*>(pptr()), text_.begin());
    setp(text_.begin(), text_.end());
    pbump(rest);
    return done;
  }

  HANDLE console_;
  std::array<char, 4096> text_{};
  std::array<wchar_t, 4096> wide_{};
};

/// Has a standard stream write to the console, if it leads to one.
class ConsoleStream {
 public:
  ConsoleStream(std::ostream& stream, DWORD handle) : stream_(stream), buffer_(::GetStdHandle(handle)) {
    DWORD mode = 0;
    if (::GetConsoleMode(::GetStdHandle(handle), &mode)) before_ = stream_.rdbuf(&buffer_);
  }
  ConsoleStream(const ConsoleStream&) = delete;
  ConsoleStream& operator=(const ConsoleStream&) = delete;
  ~ConsoleStream() {
    if (before_ == nullptr) return;
    stream_.flush();
    stream_.rdbuf(before_);
  }

 private:
  std::ostream& stream_;
  ConsoleBuffer buffer_;
  std::streambuf* before_ = nullptr;
};

const ConsoleStream Output(std::cout, STD_OUTPUT_HANDLE);
const ConsoleStream Errors(std::cerr, STD_ERROR_HANDLE);

}  // namespace
}  // namespace tools
