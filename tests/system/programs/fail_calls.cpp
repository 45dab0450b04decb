// Loaded before the C library (LD_PRELOAD), this library makes calls fail in the program FAIL_PROGRAM, but
// not in its children. The word "read:3:5" in FAIL_CALLS makes the third call of read fail with error 5 and
// create the file FAIL_LOG. Number 0 means every call, without the file. Error 0 transfers one byte only.
// With error -2 the program first sends itself signal 2.

#include <dlfcn.h>
#include <errno.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

/// An argument or a result of any kind: those of the wrapped calls are whole words.
using Word = long;
using Call = Word(Word, Word, Word, Word, Word, Word);

constexpr int Untouched = INT_MIN;

/// Returns the third number of the word for this call; `Untouched` if there is none.
static int ErrorOf(const char* name, int number) {
  const char* program = std::getenv("FAIL_PROGRAM");
  if (program == nullptr || std::strcmp(program, program_invocation_short_name) != 0) return Untouched;
  for (const char* word = std::getenv("FAIL_CALLS"); word != nullptr; word = std::strchr(word + 1, ' ')) {
    char wanted[32];
    int at = 0, error = 0;
    if (std::sscanf(word, " %31[^:]:%d:%d", wanted, &at, &error) != 3) std::abort();
    if (std::strcmp(wanted, name) != 0 || (at != number && at != 0)) continue;
    if (at != 0) std::fclose(std::fopen(std::getenv("FAIL_LOG"), "w"));  // past the wrappers
    return error;
  }
  return Untouched;
}

// `symbol` is the linker's name of the call, `name` its name in FAIL_CALLS, `failed` the result of a failure.
#define WRAP_AS(symbol, name, failed)                                                    \
  extern "C" Word Wrapped_##symbol(Word, Word, Word, Word, Word, Word) __asm__(#symbol); \
  Word Wrapped_##symbol(Word a, Word b, Word c, Word d, Word e, Word f) {                \
    const auto real = reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, #symbol));              \
    const int error = ErrorOf(#name, ++calls_##name);                                    \
    if (error < 0 && error != Untouched) std::raise(-error);                             \
    if (error <= 0) return real(a, b, error == 0 ? 1 : c, d, e, f);                      \
    errno = error;                                                                       \
    return failed;                                                                       \
  }
#define WRAP(name, failed)       \
  std::atomic<int> calls_##name; \
  WRAP_AS(name, name, failed)

// clang-format off
WRAP(chmod, -1) WRAP(close, -1) WRAP(fallocate, -1) WRAP(fchmod, -1) WRAP(fstat, -1)
WRAP(fstatat, -1) WRAP(fsync, -1) WRAP(ftruncate, -1) WRAP(futimens, -1) WRAP(lseek, -1)
WRAP(lstat, -1) WRAP(malloc, 0) WRAP(mkdir, -1) WRAP(open, -1) WRAP(opendir, 0) WRAP(posix_spawnp, error)
WRAP(pread, -1) WRAP_AS(__pread_chk, pread, -1) WRAP(pthread_create, error) WRAP(pwrite, -1) WRAP(read, -1)
WRAP_AS(__read_chk, read, -1) WRAP(readdir, 0) WRAP(readlink, -1) WRAP_AS(__readlink_chk, readlink, -1)
WRAP(realpath, 0) WRAP_AS(__realpath_chk, realpath, 0) WRAP(rename, -1) WRAP(renameat2, -1) WRAP(stat, -1)
WRAP(unlink, -1) WRAP(waitid, -1) WRAP(waitpid, -1) WRAP(write, -1)
