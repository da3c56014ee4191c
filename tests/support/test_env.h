#pragma once
// A private temporary folder per test, removed with everything in it when the test ends.

#include <string>
#include <vector>

namespace ostrel::test {

class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& contents);

// `text` cut at its line ends, without them (what a test captured from standard output).
std::vector<std::string> splitLines(const std::string& text);

} // namespace ostrel::test
