// Loaded before the program: VORLIN_FAIL names one of write, fsync, close and rename, and a
// process's second call of it on a file that is not complete yet fails as on a broken disk.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

bool IsUnfinished(std::string_view path) { return path.ends_with(".part"); }

bool IsUnfinished(int descriptor) {
  char path[4096];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = readlink(link.c_str(), path, sizeof path);
  return size > 0 && IsUnfinished(std::string_view(path, static_cast<std::size_t>(size)));
}

/// Whether this call is the one that fails.
template <class File>
bool Fails(std::string_view call, File file) {
  static const char* const struck = std::getenv("VORLIN_FAIL");
  static std::atomic<int> calls{0};
  if (struck == nullptr || call != struck || !IsUnfinished(file) || ++calls != 2) return false;
  errno = EIO;
  return true;
}

template <class Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
  if (Fails("write", descriptor)) return -1;
  return Real<decltype(write)>("write")(descriptor, bytes, size);
}

int fsync(int descriptor) {
  if (Fails("fsync", descriptor)) return -1;
  return Real<decltype(fsync)>("fsync")(descriptor);
}

int close(int descriptor) {
  const bool fails = Fails("close", descriptor);
  const int result = Real<int(int)>("close")(descriptor);
  if (fails) errno = EIO;
  return fails ? -1 : result;
}

int rename(const char* from, const char* to) noexcept {
  if (Fails("rename", from)) return -1;
  return Real<int(const char*, const char*)>("rename")(from, to);
}
}
#pragma GCC visibility pop
