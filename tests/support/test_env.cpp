#include "support/test_env.h"

#include "base/gobject_ptr.h"

#include <filesystem>
#include <gio/gio.h>
#include <sstream>
#include <stdexcept>

namespace ostrel::test {

TempDir::TempDir() {
    GErrorOut err;
    GCharPtr p(g_dir_make_tmp("ostrel-test-XXXXXX", err.out()));
    if (!p) throw std::runtime_error("cannot make a temporary folder: " + err.message());
    path_ = p.get();
}

TempDir::~TempDir() {
    std::error_code ignored; // what cannot be removed is left behind rather than failing the test
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::string& path) {
    gchar* data = nullptr;
    gsize len = 0;
    if (!g_file_get_contents(path.c_str(), &data, &len, nullptr)) return {};
    GCharPtr owned(data);
    return std::string(data, len);
}

void writeFile(const std::string& path, const std::string& contents) {
    if (!g_file_set_contents(path.c_str(), contents.data(), static_cast<gssize>(contents.size()), nullptr))
        throw std::runtime_error("cannot write " + path);
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

} // namespace ostrel::test
