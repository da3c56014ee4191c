// The payment QR code image: exact modules at ten pixels each, and a real decoder (zbarimg from
// zbar-tools) reads the link back.

#include "base/gobject_ptr.h"
#include "support/test_env.h"
#include "ui/support/qr_code.h"
#include "ui/support/qr_matrix.h"
#include "ui/support/upi_link.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <gtkmm/init.h>
#include <vector>

using namespace ostrel;

namespace {

// The text of the one QR code in the PNG at `path`, or nothing when zbarimg finds none.
std::optional<std::string> decodeQr(const std::string& path) {
    const char* argv[] = {"zbarimg",         "--quiet",    "--raw", "-Sdisable",
                          "-Sqrcode.enable", path.c_str(), nullptr};
    char* out = nullptr;
    gint status = 0;
    if (!g_spawn_sync(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr, &out,
                      nullptr, &status, nullptr))
        return std::nullopt;
    const GCharPtr owned(out);
    if (!g_spawn_check_wait_status(status, nullptr) || !out) return std::nullopt;
    std::string text(out);
    if (!text.empty() && text.back() == '\n') text.pop_back(); // --raw ends each symbol with a newline
    return text;
}

} // namespace

TEST(QrCode, EachModuleIsTenSharpPixelsADecoderReadsTheLinkAndTooMuchTextGivesNone) {
    Gtk::init_gtkmm_internals(); // the image's wrappers need gtkmm's type tables (no display, though)
    const std::string link = UPI::paymentLink(100);
    const auto matrix = UPI::qrMatrix(link);
    const auto image = UPI::qrCode(link);
    ASSERT_TRUE(matrix && image);
    const int w = image->get_width();
    ASSERT_EQ(w, matrix->size * 10);
    ASSERT_EQ(image->get_height(), w);
    std::vector<guchar> px(static_cast<std::size_t>(w * w * 4));
    image->download(px.data(), static_cast<gsize>(w * 4));
    for (int y = 0; y < w; ++y)
        for (int x = 0; x < w; ++x)
            ASSERT_EQ(px[static_cast<std::size_t>((y * w + x) * 4)], matrix->isDark(x / 10, y / 10) ? 0 : 255)
                << "pixel " << x << "," << y; // the blue of BGRA

    test::TempDir dir;
    ASSERT_TRUE(image->save_to_png(dir.file("code.png")));
    EXPECT_EQ(decodeQr(dir.file("code.png")), link);
    EXPECT_FALSE(UPI::qrCode(std::string(3000, 'x')));
}
