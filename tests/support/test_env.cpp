#include "support/test_env.h"

#include "base/gobject_ptr.h"

#include <gio/gio.h>
#include <glib/gstdio.h>
#include <sstream>
#include <stdexcept>

namespace ostrel::test {

namespace {
void removeTree(const std::string& path) {
    GDir* dir = g_dir_open(path.c_str(), 0, nullptr);
    if (dir) {
        while (const char* name = g_dir_read_name(dir)) {
            const std::string child = path + "/" + name;
            if (g_file_test(child.c_str(), G_FILE_TEST_IS_DIR) &&
                !g_file_test(child.c_str(), G_FILE_TEST_IS_SYMLINK)) {
                g_chmod(child.c_str(), 0700);
                removeTree(child);
            } else {
                g_remove(child.c_str());
            }
        }
        g_dir_close(dir);
    }
    g_rmdir(path.c_str());
}
} // namespace

TempDir::TempDir() {
    GErrorOut err;
    GCharPtr p(g_dir_make_tmp("ostrel-test-XXXXXX", err.out()));
    if (!p) throw std::runtime_error("cannot make a temporary folder: " + err.message());
    path_ = p.get();
}

TempDir::~TempDir() {
    g_chmod(path_.c_str(), 0700);
    removeTree(path_);
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

bool fileExists(const std::string& path) {
    return g_file_test(path.c_str(), G_FILE_TEST_EXISTS);
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

} // namespace ostrel::test
