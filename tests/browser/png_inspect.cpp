// Says whether a PNG screenshot shows something: decodes it (8-bit greyscale, RGB or RGBA,
// not interlaced, as browsers write screenshots) and counts the pixels that differ from
// the background colour, taken as the colour of the top-left pixel.
//
// usage: png_inspect FILE [MIN_INK_FRACTION]   exit 0 when the ink fraction reaches the
// minimum (default 0.005) and at least 8 colours appear; 1 otherwise; 2 on a bad file.
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

std::uint32_t Be32(const unsigned char* p) {
  return (std::uint32_t(p[0]) << 24) | (std::uint32_t(p[1]) << 16) | (std::uint32_t(p[2]) << 8) |
         std::uint32_t(p[3]);
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "png_inspect: %s\n", message.c_str());
  return 2;
}

int Paeth(int a, int b, int c) {
  const int p = a + b - c;
  const int pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
  if (pa <= pb && pa <= pc) return a;
  return pb <= pc ? b : c;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Fail("usage: png_inspect FILE [MIN_INK_FRACTION]");
  const double minInk = argc > 2 ? std::atof(argv[2]) : 0.005;
  std::ifstream in(argv[1], std::ios::binary);
  if (!in) return Fail(std::string("cannot open ") + argv[1]);
  const std::vector<unsigned char> file((std::istreambuf_iterator<char>(in)),
                                        std::istreambuf_iterator<char>());
  static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  if (file.size() < 8 || std::memcmp(file.data(), kSignature, 8) != 0)
    return Fail("not a PNG file");

  std::uint32_t width = 0, height = 0;
  int channels = 0;
  std::vector<unsigned char> compressed;
  for (std::size_t pos = 8; pos + 12 <= file.size();) {
    const std::uint32_t length = Be32(&file[pos]);
    if (pos + 12 + length > file.size()) return Fail("truncated chunk");
    const std::string type(reinterpret_cast<const char*>(&file[pos + 4]), 4);
    const unsigned char* data = &file[pos + 8];
    if (type == "IHDR") {
      if (length < 13) return Fail("short IHDR");
      width = Be32(data);
      height = Be32(data + 4);
      const int depth = data[8], colour = data[9], interlace = data[12];
      if (depth != 8 || interlace != 0) return Fail("only 8-bit, non-interlaced images");
      channels = colour == 0 ? 1 : colour == 2 ? 3 : colour == 6 ? 4 : colour == 4 ? 2 : 0;
      if (channels == 0) return Fail("palette images are not supported");
    } else if (type == "IDAT") {
      compressed.insert(compressed.end(), data, data + length);
    } else if (type == "IEND") {
      break;
    }
    pos += 12 + length;
  }
  if (width == 0 || height == 0 || width > 20000 || height > 40000) return Fail("bad image size");

  const std::size_t stride = std::size_t(width) * channels;
  std::vector<unsigned char> raw((stride + 1) * height);
  uLongf rawSize = raw.size();
  if (uncompress(raw.data(), &rawSize, compressed.data(), compressed.size()) != Z_OK ||
      rawSize != raw.size())
    return Fail("cannot inflate the image data");

  std::vector<unsigned char> image(stride * height), previous(stride, 0);
  for (std::uint32_t y = 0; y < height; ++y) {
    const unsigned char filter = raw[y * (stride + 1)];
    const unsigned char* src = &raw[y * (stride + 1) + 1];
    unsigned char* row = &image[y * stride];
    for (std::size_t i = 0; i < stride; ++i) {
      const int a = i >= std::size_t(channels) ? row[i - channels] : 0;
      const int b = previous[i];
      const int c = i >= std::size_t(channels) ? previous[i - channels] : 0;
      int predictor = 0;
      switch (filter) {
        case 0:
          predictor = 0;
          break;
        case 1:
          predictor = a;
          break;
        case 2:
          predictor = b;
          break;
        case 3:
          predictor = (a + b) / 2;
          break;
        case 4:
          predictor = Paeth(a, b, c);
          break;
        default:
          return Fail("bad row filter");
      }
      row[i] = static_cast<unsigned char>(src[i] + predictor);
    }
    std::memcpy(previous.data(), row, stride);
  }

  std::size_t ink = 0;
  std::set<std::uint32_t> colours;
  for (std::size_t p = 0; p < std::size_t(width) * height; ++p) {
    std::uint32_t key = 0;
    for (int k = 0; k < channels; ++k) key = (key << 8) | image[p * channels + k];
    if (std::memcmp(&image[p * channels], &image[0], channels) != 0) ++ink;
    if (colours.size() < 4096) colours.insert(key);
  }
  const double fraction = double(ink) / (double(width) * height);
  std::printf("%ux%u, %zu colours, %.2f%% of pixels differ from the background\n", width, height,
              colours.size(), 100.0 * fraction);
  return fraction >= minInk && colours.size() >= 8 ? 0 : 1;
}
