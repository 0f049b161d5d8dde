#include "tests/adapters/photolibrary/images/Samples.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <tuple>

#include <fcntl.h>
#include <jxl/encode.h>
#include <libheif/heif.h>
#include <unistd.h>
#include <vips/vips.h>
#include <zlib.h>

#include "adapters/photolibrary/base/LibraryError.h"
#include "adapters/photolibrary/images/FilePictures.h"
#include "adapters/photolibrary/images/headers/MediaProbe.h"
namespace tlx::photolibrary::test {
namespace {

void check(bool fine, const std::string& what) {
  if (!fine) throw std::runtime_error("cannot make " + what + " " + vips_error_buffer());
}

using ImageRef = std::unique_ptr<VipsImage, void (*)(void*)>;

ImageRef own(VipsImage* image) {
  return {image, [](void* object) { g_object_unref(object); }};
}

Buffer quarters(int width, int height) {
  Buffer rgba;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Colour& colour = y < height / 2 ? (x < width / 2 ? red : green) : (x < width / 2 ? blue : white);
      rgba.insert(rgba.end(), colour.begin(), colour.end());
    }
  }
  return rgba;
}

ImageRef makeImage(const PictureOptions& options) {
  static const bool started = vips_init("tests") == 0;
  check(started, "libvips");
  const Buffer rgba = quarters(options.width, options.height);
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

Buffer exifHead() {
  return bytesOf(std::string_view("MM\0*\0\0\0\10", 8));
}

/// An EXIF block with an orientation and, when given, a thumbnail.
Buffer exifBlock(int orientation, const Buffer& thumbnail = {}) {
  const Buffer bytes = exifHead() + be(1, 2) + exifEntry(0x0112, 3, 1, static_cast<unsigned>(orientation));
  if (thumbnail.empty()) return bytes + be(0, 4);
  return bytes + be(26, 4) + be(3, 2) + exifEntry(0x0103, 3, 1, 6) + exifEntry(0x0201, 4, 1, 68) +
         exifEntry(0x0202, 4, 1, static_cast<unsigned>(thumbnail.size())) + be(0, 4) + thumbnail;
}

Buffer jpegOf(const ImageRef& image) {
  void* buffer = nullptr;
  size_t size = 0;
  check(vips_jpegsave_buffer(image.get(), &buffer, &size, "Q", 90, "strip", TRUE, nullptr) == 0, "a JPEG");
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  const Buffer jpeg(bytes, bytes + size);
  g_free(buffer);
  return jpeg;
}

/// libvips writes no EXIF into a PNG.
void insertPngExif(const std::string& path, int orientation) {
  const Buffer block = exifBlock(orientation), named = bytesOf("eXIf") + block;
  const Buffer chunk = be(block.size(), 4) + named + be(crc32(0, named.data(), static_cast<unsigned>(named.size())), 4);
  Buffer file = readFile(path);
  file.insert(file.begin() + 33, chunk.begin(), chunk.end());
  writeFile(path, file);
}

void writeHeif(const std::string& path, const PictureOptions& wanted) {
  const auto [width, height] = std::pair(wanted.width, wanted.height);
  const auto fine = [&](heif_error error) { check(error.code == heif_error_Ok, path + ": " + error.message); };
  heif_context* context = heif_context_alloc();
  heif_encoder* encoder = nullptr;
  fine(heif_context_get_encoder_for_format(
      context, path.ends_with(".avif") ? heif_compression_AV1 : heif_compression_HEVC, &encoder));
  heif_encoder_set_lossy_quality(encoder, 90);
  heif_image* image = nullptr;
  fine(heif_image_create(width, height, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image));
  fine(heif_image_add_plane(image, heif_channel_interleaved, width, height, 8));
  int stride = 0;
  std::uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
  const Buffer rgba = quarters(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) std::memcpy(plane + y * stride + x * 3, &rgba[(y * width + x) * 4ul], 3);
  }
  heif_encoding_options* options = heif_encoding_options_alloc();
  options->image_orientation = static_cast<heif_orientation>(wanted.orientation);
  heif_image_handle* handle = nullptr;
  fine(heif_context_encode_image(context, image, encoder, options, &handle));
  const Buffer block = exifBlock(wanted.mentioned ? wanted.mentioned : wanted.orientation);
  fine(heif_context_add_exif_metadata(context, handle, block.data(), static_cast<int>(block.size())));
  if (wanted.thumbnail > 0) {
    heif_image_handle* small = nullptr;
    fine(heif_context_encode_thumbnail(context, image, handle, encoder, options, wanted.thumbnail, &small));
    heif_image_handle_release(small);
  }
  fine(heif_context_write_to_file(context, path.c_str()));
  heif_encoding_options_free(options);
  heif_image_handle_release(handle);
  heif_image_release(image);
  heif_encoder_release(encoder);
  heif_context_free(context);
}

void writeJpegXl(const std::string& path, const PictureOptions& wanted) {
  JxlEncoder* encoder = JxlEncoderCreate(nullptr);
  JxlBasicInfo info;
  JxlEncoderInitBasicInfo(&info);
  info.xsize = static_cast<std::uint32_t>(wanted.width);
  info.ysize = static_cast<std::uint32_t>(wanted.height);
  info.bits_per_sample = 8;
  info.alpha_bits = 8;
  info.num_extra_channels = 1;
  info.uses_original_profile = JXL_TRUE;
  info.orientation = static_cast<JxlOrientation>(wanted.orientation);
  check(JxlEncoderSetBasicInfo(encoder, &info) == JXL_ENC_SUCCESS, path);
  JxlColorEncoding colours;
  JxlColorEncodingSetToSRGB(&colours, JXL_FALSE);
  check(JxlEncoderSetColorEncoding(encoder, &colours) == JXL_ENC_SUCCESS, path);
  JxlEncoderFrameSettings* frame = JxlEncoderFrameSettingsCreate(encoder, nullptr);
  JxlEncoderSetFrameLossless(frame, JXL_TRUE);
  const JxlPixelFormat format{4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
  const Buffer rgba = quarters(wanted.width, wanted.height);
  check(JxlEncoderAddImageFrame(frame, &format, rgba.data(), rgba.size()) == JXL_ENC_SUCCESS, path);
  JxlEncoderCloseInput(encoder);
  Buffer bytes(1 << 20);
  std::uint8_t* next = bytes.data();
  std::size_t left = bytes.size();
  check(JxlEncoderProcessOutput(encoder, &next, &left) == JXL_ENC_SUCCESS, path);
  bytes.resize(bytes.size() - left);
  JxlEncoderDestroy(encoder);
  writeFile(path, bytes);
}

}  // namespace

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
  const std::string kind = std::filesystem::path(path).extension();
  if (kind == ".heic" || kind == ".avif") return writeHeif(path, options);
  if (kind == ".jxl") return writeJpegXl(path, options);
  std::string how = "[strip=false";
  if (kind == ".jpg") how += ",Q=90";
  if (kind == ".webp") how += ",lossless";
  if (options.progressive) how += ",interlace";
  if (options.palette) how += ",palette";
  check(vips_image_write_to_file(makeImage(options).get(), (path + how + "]").c_str(), nullptr) == 0, path);
  if (options.orientation != 1 && kind == ".png") insertPngExif(path, options.orientation);
}

void writeFlatPicture(const std::string& path, int width, int height, std::uint32_t colour,
                      const std::map<std::string, std::string>& texts) {
  check(vips_init("tests") == 0, "libvips");
  const Buffer rgb = be(colour, 3);
  const ImageRef pixel = own(vips_image_new_from_memory_copy(rgb.data(), 3, 1, 1, 3, VIPS_FORMAT_UCHAR));
  pixel->Type = VIPS_INTERPRETATION_sRGB;
  VipsImage* flat = nullptr;
  check(vips_embed(pixel.get(), &flat, 0, 0, width, height, "extend", VIPS_EXTEND_COPY, nullptr) == 0, path);
  const ImageRef image = own(flat);
  int number = 0;
  for (const auto& [key, text] : texts) {
    const std::string name = "png-comment-" + std::to_string(number++) + "-" + key;
    vips_image_set_string(image.get(), name.c_str(), text.c_str());
  }
  check(vips_pngsave(image.get(), path.c_str(), nullptr) == 0, path);
}

void writeJpegWithThumbnail(const std::string& path, int width, int height, int innerWidth, int innerHeight,
                            int orientation) {
  writePicture(path, {.width = width, .height = height});
  VipsImage* framed = nullptr;
  const ImageRef inner = makeImage({.width = innerWidth, .height = innerHeight});
  check(vips_embed(inner.get(), &framed, (160 - innerWidth) / 2, (120 - innerHeight) / 2, 160, 120, nullptr) == 0,
        path);
  writeFile(path, withExif(readFile(path), exifBlock(orientation, jpegOf(own(framed)))));
}

void writeClip(const std::string& path, const ClipOptions& options) {
  AVFormatContext* format = nullptr;
  check(avformat_alloc_output_context2(&format, nullptr, nullptr, path.c_str()) >= 0, path);
  AVCodecContext* codec = avcodec_alloc_context3(avcodec_find_encoder_by_name(options.codec));
  codec->width = clipWidth;
  codec->height = clipHeight;
  codec->pix_fmt = AV_PIX_FMT_YUV420P;
  codec->time_base = {1, 10};
  codec->gop_size = 1;
  if (format->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  check(avcodec_open2(codec, nullptr, nullptr) >= 0, path);
  AVStream* stream = avformat_new_stream(format, nullptr);
  stream->time_base = codec->time_base;
  avcodec_parameters_from_context(stream->codecpar, codec);
  if (options.turn != 0) {
    std::uint8_t* matrix = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t));
    av_display_rotation_set(reinterpret_cast<std::int32_t*>(matrix), options.turn);
  }
  check(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE) >= 0, path);
  check(avformat_write_header(format, nullptr) >= 0, path);
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  frame->format = codec->pix_fmt;
  frame->width = clipWidth;
  frame->height = clipHeight;
  check(av_frame_get_buffer(frame, 0) >= 0, path);
  // Red, green, blue and white in the broadcast colours of small pictures.
  static constexpr std::uint8_t yuv[4][3] = {{82, 90, 240}, {145, 54, 34}, {41, 240, 110}, {235, 128, 128}};
  for (frame->pts = 0; frame->pts < options.frames; ++frame->pts) {
    check(av_frame_make_writable(frame) >= 0, path);
    for (int plane = 0; plane < 3; ++plane) {
      const int width = plane ? clipWidth / 2 : clipWidth, height = plane ? clipHeight / 2 : clipHeight;
      const std::uint8_t black = plane ? 128 : 16;
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const std::uint8_t colour = yuv[y * 2 / height * 2 + x * 2 / width][plane];
          frame->data[plane][y * frame->linesize[plane] + x] = frame->pts < options.leadingBlack ? black : colour;
        }
      }
    }
    // The encoder, which looks at no other frame, holds none back.
    check(avcodec_send_frame(codec, frame) >= 0 && avcodec_receive_packet(codec, packet) >= 0, path);
    packet->duration = 1;
    av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
    check(av_interleaved_write_frame(format, packet) >= 0, path);
  }
  check(av_write_trailer(format) >= 0, path);
  av_packet_free(&packet);
  av_frame_free(&frame);
  avcodec_free_context(&codec);
  avio_closep(&format->pb);
  avformat_free_context(format);
}

std::vector<std::string> writeEachKind(const TemporaryFolder& folder, int width, int height) {
  std::vector<std::string> paths;
  const auto path = [&](const char* name) { return paths.emplace_back(folder.file(name)); };
  for (const char* name : {"a.jpg", "a.png", "a.webp", "a.gif", "a.tif"}) {
    writePicture(path(name), {.width = width, .height = height, .orientation = 6});
  }
  writePicture(path("progressive.jpg"), {.progressive = true});
  writePicture(path("print.jpg"), {.cmyk = true});
  for (const char* name : {"wide.jpg", "wide.png", "wide.tif"}) writePicture(path(name), {.profile = "p3"});
  writePicture(path("deep.png"), {.bits = 16, .alpha = 100});
  writeJpegWithThumbnail(path("embedded.jpg"), 90, 60, 160, 106, 6);
  for (const char* name : {"a.heic", "a.avif", "a.jxl"}) {
    writePicture(path(name), {.width = width, .height = height, .orientation = 6, .thumbnail = width / 2});
  }
  for (const char* name : {"a.mp4", "a.mov", "a.mkv", "a.avi", "a.ts"})
    writeClip(path(name), {.frames = 5, .turn = 90});
  return paths;
}

Buffer samplePhoto(const SamplePhoto& photo) {
  // Four by three grey pixels, ready made: tests that fork write such photos before any library has started a thread.
  static const Buffer plain = [] {
    gchar text[] =
        "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAgGBgcGBQgHBwcJCQgKDBQNDAsLDBkSEw8UHRofHh0aHBwgJC4nICIsIxwcKDcpLDAxNDQ0Hyc5"
        "PTgyPC4zNDL/wAALCAADAAQBAREA/8QAFAABAAAAAAAAAAAAAAAAAAAABv/EABoQAAAHAAAAAAAAAAAAAAAAAAABBQc3gbH/2gAIAQEAAD8A"
        "aM9HCfeEP//Z";
    gsize size = 0;
    g_base64_decode_inplace(text, &size);
    return bytesOf({text, size});
  }();
  if (photo.captured.empty() && photo.rating == 0) return plain;
  // A rating, and a capture date with its offset in the inner directory.
  Buffer date = bytesOf(photo.captured), offset = bytesOf(photo.offset);
  date.resize(20);
  offset.resize(7);
  return withExif(plain, exifHead() + be(2, 2) + exifEntry(0x4746, 3, 1, static_cast<unsigned>(photo.rating)) +
                             exifEntry(0x8769, 4, 1, 38) + be(0, 4) + be(2, 2) + exifEntry(0x9003, 2, 20, 68) +
                             exifEntry(0x9011, 2, 7, 88) + be(0, 4) + date + offset);
}

Buffer sampleVideo(double seconds, const char* track) {
  const auto zeros = [](std::size_t count) { return Buffer(count); };
  const Buffer time = be(1000, 4), length = be(static_cast<unsigned>(std::lround(seconds * 1000)), 4);
  const Buffer picture = box("jpeg", zeros(6) + be(1, 2) + zeros(16) + be(96, 2) + be(64, 2) + zeros(50));
  const Buffer table = box("stbl", box("stsd", be(1, 8) + picture) + box("stts", zeros(8)) + box("stsc", zeros(8)) +
                                       box("stsz", zeros(12)) + box("stco", zeros(8)));
  const Buffer media = box("mdia", box("mdhd", zeros(12) + time + length + zeros(4)) +
                                       box("hdlr", zeros(8) + bytesOf(track) + zeros(13)) + box("minf", table));
  return box("ftyp", bytesOf("isom") + be(512, 4) + bytesOf("isommp42")) +
         box("moov", box("mvhd", zeros(12) + time + length + zeros(80)) +
                         box("trak", box("tkhd", zeros(12) + be(1, 4) + zeros(4) + length + zeros(60)) + media));
}

Buffer bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

Buffer be(std::uint64_t value, int bytes) {
  Buffer made;
  for (int i = bytes - 1; i >= 0; --i) made.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  return made;
}

Buffer operator+(Buffer left, const Buffer& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Buffer box(const char* type, const Buffer& content) {
  return be(content.size() + 8, 4) + bytesOf(type) + content;
}

Buffer exifEntry(unsigned tag, unsigned type, unsigned count, unsigned value) {
  return be(tag, 2) + be(type, 2) + be(count, 4) + (type == 3 ? be(value, 2) + be(0, 2) : be(value, 4));
}

Buffer withExif(Buffer jpeg, const Buffer& block) {
  const Buffer segment = be(0xffe1, 2) + be(block.size() + 8, 2) + bytesOf(std::string_view("Exif\0\0", 6)) + block;
  jpeg.insert(jpeg.begin() + 2, segment.begin(), segment.end());
  return jpeg;
}

std::variant<MediaInfo, NSError> probe(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  auto result = probeMedia(fd);
  ::close(fd);
  if (NSError* const error = std::get_if<NSError>(&result)) *error = named(std::move(*error), path);
  return result;
}

std::variant<VideoInfo, NSError> tracks(const std::string& path) {
  Decoding direct(std::filesystem::temp_directory_path());
  return FilePictures(direct.decoders).tracks(path);
}

std::string xmpPacket(const std::string& attributes, const std::string& elements) {
  return R"(<?xpacket begin="" id="x"?><x:xmpmeta xmlns:x="adobe:ns:meta/">)"
         R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about="" )"
         R"(xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmlns:exif="http://ns.adobe.com/exif/1.0/" )"
         R"(xmlns:photoshop="http://ns.adobe.com/photoshop/1.0/" )"
         R"(xmlns:GPano="http://ns.google.com/photos/1.0/panorama/" )" +
         attributes + ">" + elements + "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
}

Buffer readFile(const std::string& path) {
  return bytesOf(support::contentOf(path));
}

void writeFile(const std::string& path, const Buffer& bytes) {
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::shared_ptr<const PHAsset> FileItems::add(const std::string& name, FileItem item) {
  const std::lock_guard lock(mutex_);
  items_[name] = std::move(item);
  auto asset = std::make_shared<PHAsset>();
  asset->localIdentifier = name;
  asset->mediaType = PHAssetMediaTypeImage;
  return asset;
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
  const FileItem& item = found->second;
  ItemLocation location;
  location.path = item.remote ? "" : item.path;
  gchar* uri = g_filename_to_uri(item.path.c_str(), nullptr, nullptr);
  location.uri = item.remote ? "https://server" + item.path : uri;
  g_free(uri);
  location.modified = item.modified;
  location.format = item.format;
  location.width = item.width;
  location.height = item.height;
  return location;
}

std::variant<Original, NSError> FileItems::fetchOriginal(const Identifier& identifier, const FetchOptions& options) {
  std::function<void(const std::string&)> gate;
  FileItem item;
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
