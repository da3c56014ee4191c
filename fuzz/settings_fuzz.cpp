// SPDX-License-Identifier: GPL-3.0-or-later
// The settings file, loaded the way the app loads it at start. The input sits in a file in memory
// made once per process: a file on disk is flushed on every rewrite, which makes a run many times
// slower.
#include "base/log.h"
#include "model/app_settings.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

class MemoryFile {
  public:
    MemoryFile() : fd_(memfd_create("settings.ini", MFD_CLOEXEC)) {
        if (fd_ < 0) std::abort();
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void fill(const std::uint8_t* data, std::size_t size) const {
        if (ftruncate(fd_, 0) != 0) std::abort();
        for (std::size_t done = 0; done < size;) {
            const ssize_t n = pwrite(fd_, data + done, size - done, static_cast<off_t>(done));
            if (n <= 0) std::abort();
            done += static_cast<std::size_t>(n);
        }
    }
    const std::string& path() const { return path_; }

  private:
    int fd_;
    std::string path_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile file;
    static const ostrel::ScopedLogSink quiet([](const std::string&) {}); // one warning per bad file
    file.fill(data, size);
    const ostrel::AppSettings settings(file.path());
    return 0;
}
