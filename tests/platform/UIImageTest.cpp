// Images from bytes (PNG, JPEG, GIF) and the image view's main-thread rule.

#include <atomic>
#include <cmath>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/StderrCapture.h"
#include "zukit/platform/foundation/NSFileManager.h"
#include "zukit/platform/ui/UIImage.h"
#include "zukit/platform/ui/UIImageView.h"

namespace {

zu::Data fixture(const std::string& name) {
  const auto bytes = zu::NSFileManager::defaultManager()->contentsAtPath(
      std::string(ZUKIT_FIXTURES_DIR) + "/images/" + name);
  return bytes.value_or(zu::Data());
}

std::size_t find(const zu::Data& bytes, const std::string& text, std::size_t from = 0) {
  const auto found = std::search(
      bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(), text.begin(), text.end(),
      [](std::uint8_t byte, char c) { return byte == static_cast<std::uint8_t>(c); });
  return found == bytes.end() ? std::string::npos : static_cast<std::size_t>(found - bytes.begin());
}

std::uint32_t bigEndian32(const zu::Data& bytes, std::size_t at) {
  return (std::uint32_t{bytes[at]} << 24) | (std::uint32_t{bytes[at + 1]} << 16) |
         (std::uint32_t{bytes[at + 2]} << 8) | std::uint32_t{bytes[at + 3]};
}

// The PNG chunk checksum (CRC-32 of type and data), to make deliberate field changes that
// still pass the checksum.
void fixChunkChecksum(zu::Data& png, std::size_t lengthAt) {
  const std::uint32_t length = bigEndian32(png, lengthAt);
  std::uint32_t crc = 0xFFFFFFFFU;
  for (std::size_t i = lengthAt + 4; i < lengthAt + 8 + length; ++i) {
    crc ^= png[i];
    for (int k = 0; k < 8; ++k)
      crc = (crc & 1) != 0 ? 0xEDB88320U ^ (crc >> 1) : crc >> 1;
  }
  crc ^= 0xFFFFFFFFU;
  const std::size_t at = lengthAt + 8 + length;
  png[at] = static_cast<std::uint8_t>(crc >> 24);
  png[at + 1] = static_cast<std::uint8_t>(crc >> 16);
  png[at + 2] = static_cast<std::uint8_t>(crc >> 8);
  png[at + 3] = static_cast<std::uint8_t>(crc);
}

// Every prefix shorter than `needed` is refused, and the prefix of `needed` bytes is accepted.
void expectPrefixesRefusedBelow(const zu::Data& bytes, std::size_t needed) {
  ASSERT_LE(needed, bytes.size());
  for (std::size_t length = 0; length < needed; ++length) {
    EXPECT_EQ(zu::UIImage::imageWithData(
                  zu::Data(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length))),
              nullptr)
        << "a prefix of " << length << " bytes";
  }
  EXPECT_NE(zu::UIImage::imageWithData(
                zu::Data(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(needed))),
            nullptr);
}

TEST(UIImageTest, DecodesTheSizeOfPNGJPEGAndGIFImages) {
  const zu::Data png = fixture("sample.png");
  const zu::Data jpeg = fixture("sample.jpg");
  const zu::Data gif = fixture("sample.gif");
  ASSERT_FALSE(png.empty());
  ASSERT_FALSE(jpeg.empty());
  ASSERT_FALSE(gif.empty());

  const auto pngImage = zu::UIImage::imageWithData(png);
  ASSERT_NE(pngImage, nullptr);
  EXPECT_EQ(pngImage->format(), zu::ImageFormat::PNG);
  EXPECT_EQ(pngImage->size(), zu::CGSizeMake(3, 2));
  EXPECT_EQ(pngImage->data(), png);

  const auto jpegImage = zu::UIImage::imageWithData(jpeg);
  ASSERT_NE(jpegImage, nullptr);
  EXPECT_EQ(jpegImage->format(), zu::ImageFormat::JPEG);
  EXPECT_EQ(jpegImage->size(), zu::CGSizeMake(16, 8));

  const auto gifImage = zu::UIImage::imageWithData(gif);
  ASSERT_NE(gifImage, nullptr);
  EXPECT_EQ(gifImage->format(), zu::ImageFormat::GIF);
  EXPECT_EQ(gifImage->size(), zu::CGSizeMake(3, 2));

  // Scale: points are pixels divided by it.
  const auto doubled = zu::UIImage::imageWithData(jpeg, 2);
  ASSERT_NE(doubled, nullptr);
  EXPECT_EQ(doubled->size(), zu::CGSizeMake(8, 4));
  EXPECT_EQ(doubled->pixelWidth(), 16U);
  EXPECT_EQ(zu::UIImage::imageWithData(jpeg, 0), nullptr);
  EXPECT_EQ(zu::UIImage::imageWithData(jpeg, -1), nullptr);
  EXPECT_EQ(zu::UIImage::imageWithData(jpeg, std::nan("")), nullptr);

  // From a file, and the older GIF signature.
  const auto fromFile =
      zu::UIImage::imageWithContentsOfFile(std::string(ZUKIT_FIXTURES_DIR) + "/images/sample.gif");
  ASSERT_NE(fromFile, nullptr);
  EXPECT_EQ(fromFile->size(), zu::CGSizeMake(3, 2));
  EXPECT_EQ(zu::UIImage::imageWithContentsOfFile("/nonexistent/image.png"), nullptr);
  zu::Data gif87 = gif;
  gif87[4] = '7';
  EXPECT_NE(zu::UIImage::imageWithData(gif87), nullptr);
}

TEST(UIImageTest, RefusesBytesThatAreNoImage) {
  EXPECT_EQ(zu::UIImage::imageWithData(zu::Data()), nullptr);
  const std::string text = "<html><body>Not found</body></html>";
  EXPECT_EQ(zu::UIImage::imageWithData(zu::Data(text.begin(), text.end())), nullptr);
  const std::string fake = "\x89PNG\r\n\x1a\nthis is no image";
  EXPECT_EQ(zu::UIImage::imageWithData(zu::Data(fake.begin(), fake.end())), nullptr);
  EXPECT_EQ(zu::UIImage::imageWithData(zu::Data(64, 0xFF)), nullptr);
  EXPECT_EQ(
      zu::UIImage::imageWithData(zu::Data{'G', 'I', 'F', '8', '8', 'a', 3, 0, 2, 0, 0, 0, 0, 0x2C}),
      nullptr);

  // Truncated: up to the end of the first image data the structure is incomplete.
  const zu::Data png = fixture("sample.png");
  const std::size_t idat = find(png, "IDAT");
  ASSERT_NE(idat, std::string::npos);
  expectPrefixesRefusedBelow(png, idat + 4 + bigEndian32(png, idat - 4) + 4);
  const zu::Data jpeg = fixture("sample.jpg");
  const std::size_t scan = find(jpeg, "\xFF\xDA");
  ASSERT_NE(scan, std::string::npos);
  expectPrefixesRefusedBelow(jpeg, scan + 2 + ((jpeg[scan + 2] << 8) | jpeg[scan + 3]) + 1);
  const zu::Data gif = fixture("sample.gif");
  expectPrefixesRefusedBelow(gif, gif.size() - 1);  // all but the trailer
}

TEST(UIImageTest, RefusesCorruptHeaders) {
  const zu::Data png = fixture("sample.png");
  // A changed IHDR byte no longer matches the chunk's checksum.
  zu::Data flipped = png;
  flipped[19] ^= 0x01;
  EXPECT_EQ(zu::UIImage::imageWithData(flipped), nullptr);
  // With the checksum made right again, the field rules still hold: a bit depth the colour
  // type does not allow (truecolour at 4 bits), a zero width, an unknown interlace method.
  zu::Data resealed = flipped;
  fixChunkChecksum(resealed, 8);
  const auto narrower = zu::UIImage::imageWithData(resealed);
  ASSERT_NE(narrower, nullptr);
  EXPECT_EQ(narrower->pixelWidth(), 2U);
  for (const auto& [at, value] : {std::pair<std::size_t, std::uint8_t>{24, 4}, {19, 0}, {28, 2}}) {
    zu::Data changed = png;
    changed[at] = value;
    fixChunkChecksum(changed, 8);
    EXPECT_EQ(zu::UIImage::imageWithData(changed), nullptr) << "byte " << at;
  }

  const zu::Data jpeg = fixture("sample.jpg");
  const std::size_t frame = find(jpeg, "\xFF\xC0");
  ASSERT_NE(frame, std::string::npos);
  zu::Data noHeight = jpeg;
  noHeight[frame + 5] = 0;
  noHeight[frame + 6] = 0;
  EXPECT_EQ(zu::UIImage::imageWithData(noHeight), nullptr);
  zu::Data components = jpeg;
  components[frame + 9] = 5;
  EXPECT_EQ(zu::UIImage::imageWithData(components), nullptr);
  // A scan with no frame before it.
  zu::Data noFrame = jpeg;
  noFrame[frame + 1] = 0xE1;  // the frame becomes an application segment
  EXPECT_EQ(zu::UIImage::imageWithData(noFrame), nullptr);
  // A segment length that runs past the end.
  zu::Data longSegment = jpeg;
  longSegment[4] = 0x7F;
  EXPECT_EQ(zu::UIImage::imageWithData(longSegment), nullptr);

  const zu::Data gif = fixture("sample.gif");
  zu::Data emptyScreen = gif;
  emptyScreen[6] = 0;
  emptyScreen[7] = 0;
  EXPECT_EQ(zu::UIImage::imageWithData(emptyScreen), nullptr);
  const std::size_t descriptor = find(gif, ",", 13);  // 0x2C after the screen descriptor
  ASSERT_NE(descriptor, std::string::npos);
  zu::Data outside = gif;
  outside[descriptor + 5] = 9;  // wider than the logical screen
  EXPECT_EQ(zu::UIImage::imageWithData(outside), nullptr);
  zu::Data trailerFirst = gif;
  trailerFirst[descriptor] = 0x3B;
  EXPECT_EQ(zu::UIImage::imageWithData(trailerFirst), nullptr);
}

TEST(UIImageTest, AnImageViewTakesItsImageOnTheMainThreadOnly) {
  const auto image = zu::UIImage::imageWithData(fixture("sample.png"));
  const auto other = zu::UIImage::imageWithData(fixture("sample.gif"));
  ASSERT_NE(image, nullptr);
  ASSERT_NE(other, nullptr);
  auto view = std::make_shared<zu::UIImageView>();
  EXPECT_EQ(view->image(), nullptr);
  view->setImage(image);
  EXPECT_EQ(view->image(), image);

  std::string console;
  {
    const zukit::test::StderrCapture capture;
    std::thread background([&] { view->setImage(other); });
    background.join();
    console = capture.text();
  }
  EXPECT_EQ(view->image(), image) << "refused off the main thread";
  EXPECT_NE(console.find("-[UIImageView setImage:] must be called on the main thread; the image "
                         "was not changed"),
            std::string::npos)
      << console;

  view->setImage(nullptr);
  EXPECT_EQ(view->image(), nullptr);
  const auto shown = std::make_shared<zu::UIImageView>(other);
  EXPECT_EQ(shown->image(), other);
}

}  // namespace
