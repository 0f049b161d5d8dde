#include "tests/adapters/photolibrary/images/Samples.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <tuple>

#include <fcntl.h>
#include <jxl/encode.h>
#include <libheif/heif.h>
#include <stdlib.h>
#include <unistd.h>
#include <vips/vips.h>
#include <zlib.h>

/// The encoder that makes the HEICs of these tests keeps some of its memory; it is no part of the product.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libx265";
}

/// These libraries are not built with the sanitizer, which therefore does not see how they order their threads.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libvips.so\n"
         "called_from_lib:libglib-2.0.so\n"
         "called_from_lib:libgobject-2.0.so\n"
         "called_from_lib:libjpeg.so\n"
         "called_from_lib:libpng16.so\n"
         "called_from_lib:libspng.so\n"
         "called_from_lib:libz.so\n"
         "called_from_lib:libheif.so\n"
         "called_from_lib:libx265.so\n"
         "race:libvips.so\n"
         "race:libglib-2.0.so\n"
         "race:libgobject-2.0.so\n"
         "race:libheif.so\n"
         "race:libx265.so\n";
}

namespace tlx::photolibrary::test {
namespace {

void check(bool fine, const std::string& what) {
  if (!fine) throw std::runtime_error("cannot make " + what + " " + vips_error_buffer());
}

bool hasExtension(const std::string& path, const char* extension) {
  return std::filesystem::path(path).extension() == std::string(".") + extension;
}

using ImageRef = std::unique_ptr<VipsImage, void (*)(void*)>;

ImageRef own(VipsImage* image) {
  return {image, [](void* object) { g_object_unref(object); }};
}

ImageRef makeImage(const PictureOptions& options) {
  static const bool started = vips_init("tests") == 0;
  check(started, "libvips");
  const std::vector<std::uint8_t> rgba = quarters(options.width, options.height);
  ImageRef image = own(
      vips_image_new_from_memory_copy(rgba.data(), rgba.size(), options.width, options.height, 4, VIPS_FORMAT_UCHAR));
  image->Type = VIPS_INTERPRETATION_sRGB;
  VipsImage* next = nullptr;
  const auto step = [&](int failed, const char* what) {
    check(failed == 0, what);
    image = own(next);
  };
  step(vips_extract_band(image.get(), &next, 0, "n", 3, nullptr), "bands");
  if (options.grey) step(vips_colourspace(image.get(), &next, VIPS_INTERPRETATION_B_W, nullptr), "grey");
  if (options.cmyk) step(vips_icc_transform(image.get(), &next, "cmyk", "input_profile", "srgb", nullptr), "ink");
  if (options.bits == 16) {
    const auto kind = options.grey ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_RGB16;
    step(vips_colourspace(image.get(), &next, kind, nullptr), "16 bits");
  }
  if (options.alpha != 255) {
    const int alpha = options.bits == 16 ? options.alpha * 257 : options.alpha;
    step(vips_bandjoin_const1(image.get(), &next, alpha, nullptr), "alpha");
  }
  if (!options.profile.empty() && !options.cmyk) {
    step(vips_icc_transform(image.get(), &next, options.profile.c_str(), "input_profile", "srgb", nullptr), "profile");
  }
  if (options.orientation != 1) {
    step(vips_copy(image.get(), &next, nullptr), "copy");
    vips_image_set_int(image.get(), VIPS_META_ORIENTATION, options.orientation);
  }
  return image;
}

void append16(std::vector<std::uint8_t>& bytes, unsigned value) {
  bytes.push_back(static_cast<std::uint8_t>(value >> 8));
  bytes.push_back(static_cast<std::uint8_t>(value));
}

void append32(std::vector<std::uint8_t>& bytes, unsigned value) {
  append16(bytes, value >> 16);
  append16(bytes, value & 0xffff);
}

void appendEntry(std::vector<std::uint8_t>& bytes, unsigned tag, unsigned type, unsigned value) {
  append16(bytes, tag);
  append16(bytes, type);
  append32(bytes, 1);
  append32(bytes, type == 3 ? value << 16 : value);
}

/// A big-endian EXIF block with an orientation and, when given, a thumbnail.
std::vector<std::uint8_t> exifBlock(int orientation, const std::vector<std::uint8_t>& thumbnail) {
  std::vector<std::uint8_t> bytes{'M', 'M', 0, 42, 0, 0, 0, 8};
  append16(bytes, 1);
  appendEntry(bytes, 0x0112, 3, static_cast<unsigned>(orientation));
  append32(bytes, thumbnail.empty() ? 0 : 26);
  if (thumbnail.empty()) return bytes;
  append16(bytes, 3);
  appendEntry(bytes, 0x0103, 3, 6);
  appendEntry(bytes, 0x0201, 4, 26 + 2 + 3 * 12 + 4);
  appendEntry(bytes, 0x0202, 4, static_cast<unsigned>(thumbnail.size()));
  append32(bytes, 0);
  bytes.insert(bytes.end(), thumbnail.begin(), thumbnail.end());
  return bytes;
}

void insertJpegExif(std::vector<std::uint8_t>& file, const std::vector<std::uint8_t>& block) {
  std::vector<std::uint8_t> segment{0xff, 0xe1};
  append16(segment, static_cast<unsigned>(block.size() + 8));
  segment.insert(segment.end(), {'E', 'x', 'i', 'f', 0, 0});
  segment.insert(segment.end(), block.begin(), block.end());
  file.insert(file.begin() + 2, segment.begin(), segment.end());
}

/// libvips writes no EXIF into a PNG.
void insertPngExif(const std::string& path, int orientation) {
  const std::vector<std::uint8_t> block = exifBlock(orientation, {});
  std::vector<std::uint8_t> chunk{'e', 'X', 'I', 'f'};
  chunk.insert(chunk.end(), block.begin(), block.end());
  append32(chunk, static_cast<unsigned>(crc32(0, chunk.data(), static_cast<unsigned>(chunk.size()))));
  std::vector<std::uint8_t> length;
  append32(length, static_cast<unsigned>(block.size()));
  chunk.insert(chunk.begin(), length.begin(), length.end());
  std::vector<std::uint8_t> file = readFile(path);
  file.insert(file.begin() + 33, chunk.begin(), chunk.end());
  writeFile(path, file);
}

}  // namespace

std::vector<std::uint8_t> quarters(int width, int height) {
  std::vector<std::uint8_t> rgba;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Colour& colour = y < height / 2 ? (x < width / 2 ? red : green) : (x < width / 2 ? blue : white);
      rgba.insert(rgba.end(), colour.begin(), colour.end());
    }
  }
  return rgba;
}

std::array<Colour, 4> cornersOf(const CGImage& image) {
  std::array<Colour, 4> corners{};
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t x = image.width() * (i % 2 ? 3 : 1) / 4;
    const std::size_t y = image.height() * (i / 2 ? 3 : 1) / 4;
    std::memcpy(corners[i].data(), image.row(y) + x * 4, 4);
  }
  return corners;
}

std::string lettersOf(const CGImage& image) {
  const auto letter = [](const Colour& colour) {
    const std::pair<char, Colour> known[] = {{'R', red}, {'G', green}, {'B', blue}, {'W', white}};
    char best = '?';
    int nearest = 3 * 130 * 130;  // print colours are far from the screen's
    for (const auto& [name, wanted] : known) {
      int distance = 0;
      for (std::size_t c = 0; c < 3; ++c) distance += (colour[c] - wanted[c]) * (colour[c] - wanted[c]);
      if (distance < nearest && colour[3] == 255) std::tie(best, nearest) = std::pair(name, distance);
    }
    return best;
  };
  const auto corners = cornersOf(image);
  return {letter(corners[0]), letter(corners[1]), '/', letter(corners[2]), letter(corners[3])};
}

void writePicture(const std::string& path, const PictureOptions& options) {
  const ImageRef image = makeImage(options);
  int failed = 1;
  if (hasExtension(path, "jpg")) {
    failed = vips_jpegsave(image.get(), path.c_str(), "Q", options.quality, "interlace", options.progressive, nullptr);
  } else if (hasExtension(path, "png")) {
    failed =
        vips_pngsave(image.get(), path.c_str(), "palette", options.palette, "interlace", options.progressive, nullptr);
  } else if (hasExtension(path, "webp")) {
    failed = vips_webpsave(image.get(), path.c_str(), "lossless", TRUE, nullptr);
  } else if (hasExtension(path, "gif")) {
    failed = vips_gifsave(image.get(), path.c_str(), nullptr);
  } else if (hasExtension(path, "tif")) {
    failed = vips_tiffsave(image.get(), path.c_str(), nullptr);
  }
  check(failed == 0, path);
  if (options.orientation != 1 && hasExtension(path, "png")) insertPngExif(path, options.orientation);
}

void writeFlatPicture(const std::string& path, int width, int height, std::uint32_t colour) {
  std::vector<std::uint8_t> rgb;
  for (int i = 0; i < width * height; ++i) {
    for (const int shift : {16, 8, 0}) rgb.push_back(static_cast<std::uint8_t>(colour >> shift));
  }
  check(vips_init("tests") == 0, "libvips");
  const ImageRef image =
      own(vips_image_new_from_memory_copy(rgb.data(), rgb.size(), width, height, 3, VIPS_FORMAT_UCHAR));
  image->Type = VIPS_INTERPRETATION_sRGB;
  check(vips_pngsave(image.get(), path.c_str(), nullptr) == 0, path);
}

void writeHeif(const std::string& path, int width, int height, int irot, int exif, int thumbnail) {
  const auto fine = [&](heif_error error) { check(error.code == heif_error_Ok, path + ": " + error.message); };
  heif_context* context = heif_context_alloc();
  heif_encoder* encoder = nullptr;
  fine(heif_context_get_encoder_for_format(
      context, hasExtension(path, "avif") ? heif_compression_AV1 : heif_compression_HEVC, &encoder));
  heif_encoder_set_lossy_quality(encoder, 90);
  heif_image* image = nullptr;
  fine(heif_image_create(width, height, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image));
  fine(heif_image_add_plane(image, heif_channel_interleaved, width, height, 8));
  int stride = 0;
  std::uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
  const std::vector<std::uint8_t> rgba = quarters(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) std::memcpy(plane + y * stride + x * 3, &rgba[(y * width + x) * 4ul], 3);
  }
  heif_encoding_options* options = heif_encoding_options_alloc();
  options->image_orientation = static_cast<heif_orientation>(irot);
  heif_image_handle* handle = nullptr;
  fine(heif_context_encode_image(context, image, encoder, options, &handle));
  if (exif > 0) {
    const auto block = exifBlock(exif, {});
    fine(heif_context_add_exif_metadata(context, handle, block.data(), static_cast<int>(block.size())));
  }
  if (thumbnail > 0) {
    heif_image_handle* small = nullptr;
    fine(heif_context_encode_thumbnail(context, image, handle, encoder, options, thumbnail, &small));
    heif_image_handle_release(small);
  }
  fine(heif_context_write_to_file(context, path.c_str()));
  heif_encoding_options_free(options);
  heif_image_handle_release(handle);
  heif_image_release(image);
  heif_encoder_release(encoder);
  heif_context_free(context);
}

void writeJpegXl(const std::string& path, int width, int height, int orientation) {
  JxlEncoder* encoder = JxlEncoderCreate(nullptr);
  JxlBasicInfo info;
  JxlEncoderInitBasicInfo(&info);
  info.xsize = static_cast<std::uint32_t>(width);
  info.ysize = static_cast<std::uint32_t>(height);
  info.bits_per_sample = 8;
  info.alpha_bits = 8;
  info.num_extra_channels = 1;
  info.uses_original_profile = JXL_TRUE;
  info.orientation = static_cast<JxlOrientation>(orientation);
  check(JxlEncoderSetBasicInfo(encoder, &info) == JXL_ENC_SUCCESS, path);
  JxlColorEncoding colours;
  JxlColorEncodingSetToSRGB(&colours, JXL_FALSE);
  check(JxlEncoderSetColorEncoding(encoder, &colours) == JXL_ENC_SUCCESS, path);
  JxlEncoderFrameSettings* frame = JxlEncoderFrameSettingsCreate(encoder, nullptr);
  JxlEncoderSetFrameLossless(frame, JXL_TRUE);
  const JxlPixelFormat format{4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
  const std::vector<std::uint8_t> rgba = quarters(width, height);
  check(JxlEncoderAddImageFrame(frame, &format, rgba.data(), rgba.size()) == JXL_ENC_SUCCESS, path);
  JxlEncoderCloseInput(encoder);
  std::vector<std::uint8_t> bytes(1 << 20);
  std::uint8_t* next = bytes.data();
  std::size_t left = bytes.size();
  check(JxlEncoderProcessOutput(encoder, &next, &left) == JXL_ENC_SUCCESS, path);
  bytes.resize(bytes.size() - left);
  JxlEncoderDestroy(encoder);
  writeFile(path, bytes);
}

void writeJpegWithThumbnail(const std::string& path, int width, int height, int innerWidth, int innerHeight,
                            int orientation) {
  const int outerWidth = 160, outerHeight = 120;
  std::vector<std::uint8_t> rgb(outerWidth * outerHeight * 3, 0);
  const int left = (outerWidth - innerWidth) / 2, top = (outerHeight - innerHeight) / 2;
  const std::vector<std::uint8_t> rgba = quarters(innerWidth, innerHeight);
  for (int y = 0; y < innerHeight; ++y) {
    for (int x = 0; x < innerWidth; ++x) {
      std::memcpy(&rgb[((top + y) * outerWidth + left + x) * 3ul], &rgba[(y * innerWidth + x) * 4ul], 3);
    }
  }
  writePicture(path, {.width = width, .height = height});
  const ImageRef image =
      own(vips_image_new_from_memory_copy(rgb.data(), rgb.size(), outerWidth, outerHeight, 3, VIPS_FORMAT_UCHAR));
  image->Type = VIPS_INTERPRETATION_sRGB;
  void* buffer = nullptr;
  size_t size = 0;
  check(vips_jpegsave_buffer(image.get(), &buffer, &size, "Q", 90, "strip", TRUE, nullptr) == 0, path);
  const auto* small = static_cast<const std::uint8_t*>(buffer);
  const std::vector<std::uint8_t> block = exifBlock(orientation, {small, small + size});
  g_free(buffer);

  std::vector<std::uint8_t> file = readFile(path);
  insertJpegExif(file, block);
  writeFile(path, file);
}

void writeClip(const std::string& path, const ClipOptions& options) {
  AVFormatContext* format = nullptr;
  check(avformat_alloc_output_context2(&format, nullptr, nullptr, path.c_str()) >= 0, path);
  AVStream* video = nullptr;
  AVStream* audio = nullptr;
  AVCodecContext* codec = nullptr;
  if (options.video) {
    codec = avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MPEG4));
    codec->width = options.width;
    codec->height = options.height;
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = {1, 10};
    codec->gop_size = 1;
    codec->global_quality = FF_QP2LAMBDA * 2;
    codec->flags |= AV_CODEC_FLAG_QSCALE;
    if (format->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(codec, nullptr, nullptr) >= 0, path);
    video = avformat_new_stream(format, nullptr);
    video->time_base = codec->time_base;
    avcodec_parameters_from_context(video->codecpar, codec);
    if (options.turn != 0) {
      auto* matrix = reinterpret_cast<std::int32_t*>(
          av_stream_new_side_data(video, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t)));
      av_display_rotation_set(matrix, options.turn);
    }
  }
  if (options.audio) {
    audio = avformat_new_stream(format, nullptr);
    audio->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    audio->codecpar->codec_id = AV_CODEC_ID_PCM_S16LE;
    audio->codecpar->sample_rate = 8000;
    audio->codecpar->ch_layout = AV_CHANNEL_LAYOUT_MONO;
    audio->codecpar->bits_per_coded_sample = 16;
    audio->time_base = {1, 8000};
  }
  check(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE) >= 0, path);
  check(avformat_write_header(format, nullptr) >= 0, path);
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  // Red, green, blue and white in the broadcast colours of small pictures.
  static constexpr std::uint8_t yuv[4][3] = {{82, 90, 240}, {145, 54, 34}, {41, 240, 110}, {235, 128, 128}};
  for (int number = 0; options.video && number <= options.frames; ++number) {
    if (number < options.frames) {
      frame->format = codec->pix_fmt;
      frame->width = options.width;
      frame->height = options.height;
      frame->pts = number;
      check(av_frame_get_buffer(frame, 0) >= 0, path);
      for (int plane = 0; plane < 3; ++plane) {
        const int width = plane ? options.width / 2 : options.width,
                  height = plane ? options.height / 2 : options.height;
        for (int y = 0; y < height; ++y) {
          for (int x = 0; x < width; ++x) {
            const int corner = (y < height / 2 ? 0 : 2) + (x < width / 2 ? 0 : 1);
            const std::uint8_t black = plane ? 128 : 16;
            frame->data[plane][y * frame->linesize[plane] + x] =
                number < options.leadingBlack ? black : yuv[corner][plane];
          }
        }
      }
    }
    avcodec_send_frame(codec, number < options.frames ? frame : nullptr);
    av_frame_unref(frame);
    while (avcodec_receive_packet(codec, packet) == 0) {
      packet->duration = 1;
      av_packet_rescale_ts(packet, codec->time_base, video->time_base);
      packet->stream_index = video->index;
      check(av_interleaved_write_frame(format, packet) >= 0, path);
    }
  }
  if (options.audio) {
    for (int tenth = 0; tenth < options.frames; ++tenth) {
      check(av_new_packet(packet, 1600) >= 0, path);
      std::memset(packet->data, tenth, 1600);
      packet->pts = packet->dts = av_rescale_q(tenth * 800, {1, 8000}, audio->time_base);
      packet->duration = av_rescale_q(800, {1, 8000}, audio->time_base);
      packet->stream_index = audio->index;
      check(av_interleaved_write_frame(format, packet) >= 0, path);
    }
  }
  check(av_write_trailer(format) >= 0, path);
  av_packet_free(&packet);
  av_frame_free(&frame);
  avcodec_free_context(&codec);
  avio_closep(&format->pb);
  avformat_free_context(format);
}

std::vector<std::uint8_t> samplePhoto(const SamplePhoto& photo) {
  static const std::vector<std::uint8_t> plain = [] {
    void* buffer = nullptr;
    size_t size = 0;
    const ImageRef image = makeImage({.width = 4, .height = 3, .grey = true});
    check(vips_jpegsave_buffer(image.get(), &buffer, &size, "strip", TRUE, nullptr) == 0, "a photo");
    std::vector<std::uint8_t> bytes(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size);
    g_free(buffer);
    return bytes;
  }();
  std::vector<std::uint8_t> file = plain;
  if (photo.captured.empty() && photo.rating == 0) return file;
  // A rating, and a capture date with its offset in the inner directory.
  std::vector<std::uint8_t> exif{'M', 'M', 0, 42, 0, 0, 0, 8};
  append16(exif, 2);
  appendEntry(exif, 0x4746, 3, static_cast<unsigned>(photo.rating));
  appendEntry(exif, 0x8769, 4, 38);
  append32(exif, 0);
  append16(exif, 2);
  const auto text = [&](unsigned tag, unsigned length, unsigned offset) {
    append16(exif, tag);
    append16(exif, 2);
    append32(exif, length);
    append32(exif, offset);
  };
  text(0x9003, 20, 68);
  text(0x9011, 7, 88);
  append32(exif, 0);
  for (const auto& [value, length] : {std::pair(photo.captured, 20u), std::pair(photo.offset, 7u)}) {
    exif.insert(exif.end(), value.begin(), value.end());
    exif.resize(exif.size() + length - value.size());
  }
  insertJpegExif(file, exif);
  return file;
}

std::vector<std::uint8_t> sampleVideo(double seconds) {
  using Bytes = std::vector<std::uint8_t>;
  const auto box = [](const char* type, const std::vector<Bytes>& contents) {
    Bytes bytes(4);
    bytes.insert(bytes.end(), type, type + 4);
    for (const Bytes& content : contents) bytes.insert(bytes.end(), content.begin(), content.end());
    for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(bytes.size() >> (24 - 8 * i));
    return bytes;
  };
  const auto zeros = [](std::size_t count) { return Bytes(count); };
  const auto number = [](unsigned value, int count) {
    Bytes bytes;
    count == 2 ? append16(bytes, value) : append32(bytes, value);
    return bytes;
  };
  const auto text = [](const char* letters) { return Bytes(letters, letters + 4); };
  const Bytes time = number(1000, 4), length = number(static_cast<unsigned>(std::lround(seconds * 1000)), 4);
  const Bytes picture = box("jpeg", {zeros(6), number(1, 2), zeros(16), number(96, 2), number(64, 2), zeros(50)});
  const Bytes table = box("stbl", {box("stsd", {zeros(4), number(1, 4), picture}), box("stts", {zeros(8)}),
                                   box("stsc", {zeros(8)}), box("stsz", {zeros(12)}), box("stco", {zeros(8)})});
  const Bytes media = box("mdia", {box("mdhd", {zeros(12), time, length, zeros(4)}),
                                   box("hdlr", {zeros(8), text("vide"), zeros(13)}), box("minf", {table})});
  const Bytes track = box("trak", {box("tkhd", {zeros(12), number(1, 4), zeros(4), length, zeros(60)}), media});
  Bytes bytes = box("ftyp", {text("isom"), number(512, 4), text("isom"), text("mp42")});
  const Bytes movie = box("moov", {box("mvhd", {zeros(12), time, length, zeros(80)}), track});
  bytes.insert(bytes.end(), movie.begin(), movie.end());
  return bytes;
}

std::variant<MediaInfo, NSError> probe(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  auto result = probeMedia(fd, path);
  ::close(fd);
  return result;
}

std::string xmpPacket(const std::string& attributes, const std::string& elements) {
  return R"(<?xpacket begin="" id="x"?><x:xmpmeta xmlns:x="adobe:ns:meta/">)"
         R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about="" )"
         R"(xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmlns:exif="http://ns.adobe.com/exif/1.0/" )"
         R"(xmlns:photoshop="http://ns.adobe.com/photoshop/1.0/" )"
         R"(xmlns:GPano="http://ns.google.com/photos/1.0/panorama/" )" +
         attributes + ">" + elements + "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
}

std::vector<std::uint8_t> readFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::shared_ptr<const PHAsset> FileItems::add(const std::string& name, const std::string& path, FileFacts facts) {
  return put(name, {path, facts});
}

std::shared_ptr<const PHAsset> FileItems::addRemote(const std::string& name, const std::string& path, FileFacts facts,
                                                    std::optional<Preview> preview) {
  return put(name, {path, facts, true, std::move(preview)});
}

std::shared_ptr<const PHAsset> FileItems::put(const std::string& name, Item item) {
  const std::lock_guard lock(mutex_);
  items_[name] = std::move(item);
  auto asset = std::make_shared<PHAsset>();
  asset->localIdentifier = name;
  asset->mediaType = PHAssetMediaTypeImage;
  return asset;
}

void FileItems::touch(const std::string& name) {
  const std::lock_guard lock(mutex_);
  ++items_.at(name).modified;
}

void FileItems::forget(const std::string& name) {
  const std::lock_guard lock(mutex_);
  items_.erase(name);
}

void FileItems::setGate(std::function<void(const std::string&)> gate) {
  const std::lock_guard lock(mutex_);
  gate_ = std::move(gate);
}

std::variant<ItemLocation, NSError> FileItems::locate(const Identifier& identifier) const {
  const std::lock_guard lock(mutex_);
  const auto found = items_.find(identifier.string());
  if (found == items_.end()) return NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorNotFound, "unknown item"};
  const Item& item = found->second;
  ItemLocation location;
  location.path = item.remote ? "" : item.path;
  gchar* uri = g_filename_to_uri(item.path.c_str(), nullptr, nullptr);
  location.uri = item.remote ? "https://server" + item.path : uri;
  g_free(uri);
  location.modified = item.modified;
  location.format = item.facts.format;
  location.width = item.facts.width;
  location.height = item.facts.height;
  return location;
}

std::variant<Original, NSError> FileItems::fetchOriginal(const Identifier& identifier, const FetchOptions& options) {
  std::function<void(const std::string&)> gate;
  Item item;
  {
    const std::lock_guard lock(mutex_);
    gate = gate_;
    if (const auto found = items_.find(identifier.string()); found != items_.end()) item = found->second;
  }
  if (item.remote && !options.networkAccessAllowed) {
    return NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorNetworkNotAllowed, "lies on a server"};
  }
  for (int piece = 1; item.remote && piece <= 4; ++piece) {
    if (options.stop.stop_requested() || (options.progress && !options.progress(piece / 4.0))) {
      return NSError{kPhotoLibraryErrorDomain, PhotoLibraryErrorCancelled, "the transfer was stopped"};
    }
    if (piece == 2 && gate) gate(identifier.string());
  }
  if (!item.remote && gate) gate(identifier.string());
  const auto located = locate(identifier);
  if (const NSError* error = std::get_if<NSError>(&located)) return *error;
  return Original{item.path, nullptr};
}

std::variant<Preview, NSError> FileItems::fetchPreview(const Identifier& identifier, int, const std::stop_token&) {
  const std::lock_guard lock(mutex_);
  const auto found = items_.find(identifier.string());
  if (found == items_.end() || !found->second.preview) return noPreview();
  return *found->second.preview;
}

}  // namespace tlx::photolibrary::test
