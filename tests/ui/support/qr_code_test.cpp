// The payment QR code image: exact modules at ten pixels each, and a real decoder reads the link.

#include "qr_decode.h"
#include "support/test_env.h"
#include "ui/support/qr_code.h"
#include "ui/support/qr_matrix.h"
#include "ui/support/upi_link.h"

#include <gtest/gtest.h>
#include <gtkmm/init.h>
#include <vector>

using namespace ostrel;

namespace {
// The image is a gtkmm object: its wrappers need gtkmm's type tables (no display, though).
class QrCode : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { Gtk::init_gtkmm_internals(); }
};

std::vector<guchar> pixels(const Glib::RefPtr<Gdk::Texture>& t) {
    std::vector<guchar> data(static_cast<std::size_t>(t->get_width() * t->get_height() * 4));
    t->download(data.data(), static_cast<gsize>(t->get_width() * 4));
    return data;
}
} // namespace

TEST_F(QrCode, EachModuleIsTenSharpPixels) {
    const std::string link = UPI::paymentLink(100);
    const auto matrix = UPI::qrMatrix(link);
    const auto image = UPI::qrCode(link);
    ASSERT_TRUE(matrix && image);
    ASSERT_EQ(image->get_width(), matrix->size * 10);
    ASSERT_EQ(image->get_height(), matrix->size * 10);
    const auto px = pixels(image);
    const int w = image->get_width();
    for (int y = 0; y < w; ++y) {
        for (int x = 0; x < w; ++x) {
            const guchar blue = px[static_cast<std::size_t>((y * w + x) * 4)]; // BGRA
            const guchar expected = matrix->isDark(x / 10, y / 10) ? 0 : 255;
            ASSERT_EQ(blue, expected) << "pixel " << x << "," << y;
        }
    }
}

TEST_F(QrCode, DecodesBackToExactlyTheLink) {
    test::TempDir dir;
    for (double amount : {100.0, 12.75, 99999.99}) {
        const std::string link = UPI::paymentLink(amount);
        const auto image = UPI::qrCode(link);
        ASSERT_TRUE(image);
        const std::string path = dir.file("code.png");
        ASSERT_TRUE(image->save_to_png(path));
        EXPECT_EQ(test::decodeQr(path), link);
    }
}

TEST_F(QrCode, NoImageForTextBeyondAnyQrCode) {
    EXPECT_FALSE(UPI::qrCode(std::string(3000, 'x')));
}
