// The formats that the tool can be built without.
#include <gtest/gtest.h>

#if SKYLEVEL_HAS_HEIC
#include <libheif/heif.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/exif.h"
#include "tools/jpeg_segments.h"
#include "tools/metadata.h"
#include "tools/photo.h"
#include "tools/png_writer.h"
#include "tools/turn.h"

namespace {

using namespace std::string_view_literals;
using Json = nlohmann::json;
using skylevel::Bytes;
using skylevel::MetadataBlocks;
using skylevel::Photo;
using skylevel::PhotoFormat;
using skylevel::Picture;
using skylevel::PixelWish;

Bytes bytesFrom(std::string_view text) { return {text.begin(), text.end()}; }

Photo decode(const Bytes& bytes, PixelWish wish = PixelWish::stored) {
    return skylevel::decodePhoto(bytes, wish, 1'000'000);
}

std::string reasonFor(const Bytes& bytes, std::int64_t maxPixels = 1'000'000) {
    try {
        skylevel::requirePhoto(bytes);
        return std::to_string(skylevel::decodePhoto(bytes, PixelWish::luma, maxPixels).picture.width) + " wide";
    } catch (const skylevel::FileError& error) {
        return error.what();
    }
}

TEST(Formats, AreToldByContentAndNamedWhenLeftOut) {
    const struct {
        std::string_view start;
        PhotoFormat format;
    } cases[] = {{"\xFF\xD8\xFF\xE0", PhotoFormat::jpeg},
                 {"RIFF\1\2\3\4WEBPVP8 ", PhotoFormat::webp},
                 {"\0\0\0\x18"sv
                  "ftypheic\0\0\0\0"sv,
                  PhotoFormat::heic},
                 {"\0\0\0\x18"sv
                  "ftypmif1\0\0\0\0"sv,
                  PhotoFormat::heic}};
    for (const auto& c : cases)
        for (const skylevel::Format& format : skylevel::formats())
            EXPECT_EQ(format.begins(bytesFrom(c.start)), format.id == c.format) << format.title << " of " << c.start;
    EXPECT_EQ(reasonFor(bytesFrom("RIFF\1\2\3\4WAVEfmt ")), "not a JPEG, PNG, WebP or HEIC file");
    EXPECT_EQ(skylevel::formatOfName("a/b.HEIC"), PhotoFormat::heic);
    EXPECT_EQ(skylevel::formatOfName("a.webp/b"), std::nullopt);

    skylevel::Format missing = skylevel::formatOf(PhotoFormat::heic);
    missing.decode = nullptr;
    EXPECT_THROW(
        try { skylevel::requireBuiltIn(missing); } catch (const skylevel::FileError& error) {
            EXPECT_STREQ(error.what(), "is a HEIC file, and HEIC is not built in");
            throw;
        },
        skylevel::FileError);
    const std::string version = runTool({"--version"}).out;
    for (const skylevel::Format& format : skylevel::formats()) {
        const bool left = format.decode == nullptr;
        EXPECT_NE(version.find(format.title + std::string(left ? "" : " (lib")), std::string::npos) << version;
        EXPECT_EQ(version.find("not built in: ") < version.find(format.title), left) << version;
    }
}

TEST(Formats, KeepTheMetadataOfAHeicFileInAJpeg) {
    Photo photo;
    photo.format = PhotoFormat::heic;
    photo.metadata = {exifBlock(6), Bytes(70000, 5), bytesFrom("<x tiff:Orientation='6'/>")};
    photo.picture = noisyPicture(8, 8);
    const Bytes encoded = skylevel::formatOf(PhotoFormat::jpeg).encode(photo, 90);
    auto carried = skylevel::carryMetadata({}, photo, encoded, 8, 8);
    EXPECT_TRUE(carried.warnings.empty());
    const auto segments = skylevel::findSegments(carried.bytes).metadata;
    ASSERT_EQ(segments.size(), 4U);
    const auto is = [&](std::size_t i, std::string_view header, const Bytes& rest) {
        Bytes data = bytesFrom(header);
        data.insert(data.end(), rest.begin(), rest.end());
        return Bytes(segments[i].data.begin(), segments[i].data.end()) == data;
    };
    EXPECT_TRUE(is(0, "Exif\0\0"sv, exifBlock(1)));
    EXPECT_TRUE(is(1, "http://ns.adobe.com/xap/1.0/\0<x tiff:Orientation='1'/>"sv, {}));
    EXPECT_TRUE(is(2, "ICC_PROFILE\0\1\2"sv, Bytes(65519, 5)));
    EXPECT_TRUE(is(3, "ICC_PROFILE\0\2\2"sv, Bytes(70000 - 65519, 5)));
    EXPECT_EQ(pixelsOf(decode(carried.bytes).picture), pixelsOf(decode(encoded).picture));

    photo.metadata.xmp = Bytes(70000, ' ');
    carried = skylevel::carryMetadata({}, photo, encoded, 8, 8);
    EXPECT_EQ(carried.warnings, std::vector<std::string>{"not kept: too much XMP for a JPEG"});
}

#if SKYLEVEL_HAS_WEBP

Bytes webpOf(const Picture& picture, bool lossless, const MetadataBlocks& blocks, int quality = 90) {
    Photo photo;
    photo.lossless = lossless;
    photo.picture = skylevel::turned(picture, 0);
    const skylevel::Format& webp = skylevel::formatOf(PhotoFormat::webp);
    return webp.embed(webp.encode(photo, quality), blocks);
}

TEST(Webp, KeepsPixelsAndMetadata) {
    const TemporaryFolder folder;
    const Picture noise = noisyPicture(60, 40);
    Picture transparent = skylevel::makePicture(60, 40, 4);
    for (int i = 0; i < 60 * 40; ++i) {
        std::copy_n(&noise.pixels[3 * i], 3, &transparent.pixels[4 * i]);
        transparent.pixels[4 * i + 3] = static_cast<unsigned char>(i % 256);
    }
    const MetadataBlocks blocks = {exifBlock(6), Bytes(333, 7), bytesFrom("<x tiff:Orientation='6'/>")};
    const Picture* const pictures[] = {&noise, &transparent};
    for (const Picture* const picture : pictures)
        for (const bool lossless : {true, false}) {
            SCOPED_TRACE(std::to_string(picture->channels) + (lossless ? " lossless" : " lossy"));
            Bytes file = webpOf(*picture, lossless, blocks);
            file.push_back('!');  // behind the container
            writeBytes(folder.file("in"), file);
            const Photo in = decode(bytesOf(folder.file("in")));
            EXPECT_EQ(in.lossless, lossless);
            EXPECT_EQ(in.orientation.turn, 90);
            EXPECT_EQ(in.picture.channels, picture->channels);
            EXPECT_EQ(pixelsOf(in.picture) == pixelsOf(*picture), lossless);

            const auto sizeAt = [&](const char* quality) {
                const ToolRun run = runTool({"straighten", "--force", "--angle", "4", "--quality", quality, "-o",
                                             folder.file("out.webp"), folder.file("in")});
                EXPECT_EQ(run.status, 0);
                EXPECT_TRUE(
                    run.err.ends_with("in: warning: not kept: 1 bytes behind the picture, such as further "
                                      "pictures or a film\n"))
                    << run.err;
                return bytesOf(folder.file("out.webp")).size();
            };
            EXPECT_EQ(sizeAt("10") == sizeAt("98"), lossless);
            const Photo out = decode(bytesOf(folder.file("out.webp")));
            EXPECT_EQ(out.lossless, lossless);
            EXPECT_EQ(out.metadata.exif, exifBlock(1));
            EXPECT_EQ(out.metadata.profile, blocks.profile);
            EXPECT_EQ(out.metadata.xmp, bytesFrom("<x tiff:Orientation='1'/>"));
            const Picture expected = skylevel::turnedContent(skylevel::turned(in.picture, 90), 4.0, false);
            EXPECT_EQ(pixelsOf(out.picture) == pixelsOf(expected), lossless);
            EXPECT_EQ(out.picture.width, expected.width);
        }
}

TEST(Webp, GivesUpOnBrokenFilesWithAReason) {
    const Bytes whole = webpOf(noisyPicture(60, 40), false, {exifBlock(6), {}, {}});
    EXPECT_EQ(reasonFor(whole), "60 wide");
    EXPECT_EQ(reasonFor(whole, 2399), "60 x 40 pixels are more than the limit of 2399");
    EXPECT_EQ(reasonFor({whole.begin(), whole.begin() + 400}), "truncated");
    Bytes damaged = whole;
    const std::string_view chunk = "EXIF";
    std::search(damaged.begin(), damaged.end(), chunk.begin(), chunk.end())[5] = 1;  // of its size
    EXPECT_FALSE(decode(damaged).complete) << "its metadata would be lost";
    Bytes animated = whole;
    animated[20] |= 2U;  // the flag in the extended header
    EXPECT_EQ(reasonFor(animated), "an animation, and no photo");
    EXPECT_EQ(reasonFor(animated, 2399), "60 x 40 pixels are more than the limit of 2399");
}

#endif
#if SKYLEVEL_HAS_HEIC

// The encoder that makes the test's file keeps some memory of its own; the tool itself never encodes HEIC.
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265\n"; }

// Empty where libheif has no encoder.
Bytes heicOf(const Picture& picture, heif_orientation turn, const Bytes& exif, const Bytes& profile,
             const char* profileKind = "prof") {
    const std::unique_ptr<heif_context, void (*)(heif_context*)> context(heif_context_alloc(), heif_context_free);
    heif_encoder* encoder = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC, &encoder).code != heif_error_Ok)
        return {};
    heif_encoder_set_lossy_quality(encoder, 95);
    heif_image* image = nullptr;
    heif_image_create(picture.width, picture.height, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
    heif_image_add_plane(image, heif_channel_interleaved, picture.width, picture.height, 8);
    int stride = 0;
    unsigned char* const pixels = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < picture.height; ++y)
        std::memcpy(pixels + std::ptrdiff_t{y} * stride, picture.row(y), picture.rowBytes());
    heif_image_set_raw_color_profile(image, profileKind, profile.data(), profile.size());
    heif_encoding_options* const options = heif_encoding_options_alloc();
    options->image_orientation = turn;
    heif_image_handle* handle = nullptr;
    heif_context_encode_image(context.get(), image, encoder, options, &handle);
    heif_context_add_exif_metadata(context.get(), handle, exif.data(), static_cast<int>(exif.size()));
    heif_image_handle_release(handle);
    heif_encoding_options_free(options);
    heif_image_release(image);
    heif_encoder_release(encoder);
    Bytes file;
    heif_writer writer = {1, [](heif_context*, const void* data, std::size_t size, void* out) {
                              const auto* const bytes = static_cast<const unsigned char*>(data);
                              static_cast<Bytes*>(out)->assign(bytes, bytes + size);
                              return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                          }};
    heif_context_write(context.get(), &writer, &file);
    return file;
}

TEST(Heic, IsTurnedOnceAndBecomesAJpeg) {
    // A dark left part, which the file's own turn makes the upper one.
    Picture stored = skylevel::makePicture(192, 128, 3);
    for (int i = 0; i < 192 * 128; ++i)
        std::fill_n(&stored.pixels[3 * i], 3, static_cast<unsigned char>(i % 192 < 64 ? 40 : 200));
    const Bytes profile = Bytes(333, 7);
    const Bytes file = heicOf(stored, heif_orientation_rotate_90_cw, exifBlock(6), profile);
    if (file.empty()) GTEST_SKIP() << "libheif has no encoder for HEIC";
    const Photo photo = decode(file);
    EXPECT_EQ(photo.format, PhotoFormat::heic);
    EXPECT_EQ(photo.orientation.turn, 0);
    EXPECT_EQ(photo.metadata.exif, exifBlock(6));
    EXPECT_EQ(photo.metadata.profile, profile);
    ASSERT_EQ(photo.picture.width, 128);
    ASSERT_EQ(photo.picture.height, 192);
    EXPECT_NEAR(photo.picture.row(30)[60], 40, 5);
    EXPECT_NEAR(photo.picture.row(160)[60], 200, 5);
    EXPECT_EQ(reasonFor(file, 128 * 192 - 1), "128 x 192 pixels are more than the limit of 24575");
    const std::string reason = reasonFor({file.begin(), file.begin() + 200});
    EXPECT_TRUE(reason.starts_with("HEIC: ") && !reason.ends_with('\n')) << reason;

    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("in"));
    const std::string in = folder.file("in/a.heic");
    writeBytes(in, file);
    const Json told = Json::parse(runTool({"detect", "--json", in}).out);
    EXPECT_EQ(told["format"], "heic");
    EXPECT_EQ(told["turn"], 0);
    EXPECT_EQ(told["height"], 192);

    EXPECT_EQ(runTool({"straighten", "--angle", "3", "-o", folder.file("a.heic"), in}).err,
              "skylevel: " + in + ": is a HEIC file, which cannot be written; -o FILE.jpg makes a JPEG\n");
    EXPECT_EQ(runTool({"straighten", "--angle", "3", "-o", folder.file("a.jpg"), in}).out,
              in + ": turned by +3.00 degrees, 119 x 179 of 128 x 192 pixels, as JPEG\n");
    const Bytes jpeg = bytesOf(folder.file("a.jpg"));
    const auto segments = skylevel::findSegments(jpeg).metadata;
    ASSERT_EQ(segments.size(), 2U);
    EXPECT_EQ(skylevel::exifOrientation(segments[0].data.subspan(6)), 1U);
    EXPECT_EQ(segments[1].data.size(), 14 + profile.size());

    // Into a folder it goes as what it becomes, numbered where something else wants that name.
    EXPECT_EQ(runTool({"straighten", "-r", "--angle", "3", "-o", folder.file("out"), folder.file("in")}).status, 0);
    EXPECT_EQ(bytesOf(folder.file("out/a.jpg")), jpeg);
    EXPECT_EQ(runTool({"straighten", "-r", "--min-angle", "45", "-o", folder.file("same"), folder.file("in")}).status,
              1);
    EXPECT_EQ(bytesOf(folder.file("same/a.heic")), file);
    writeBytes(folder.file("in/a.jpg"), jpeg);
    EXPECT_EQ(runTool({"straighten", "-r", "--angle", "3", "-o", folder.file("new"), folder.file("in")}).status, 0);
    EXPECT_EQ(bytesOf(folder.file("new/a-2.jpg")), jpeg);
    EXPECT_NE(bytesOf(folder.file("new/a.jpg")), jpeg) << "turned again";

    // The name does not make the photo itself a JPEG.
    const std::string misnamed = folder.file("in/a.jpg");
    writeBytes(misnamed, file);
    EXPECT_EQ(runTool({"straighten", "--angle", "3", "--in-place", misnamed}).err,
              "skylevel: " + misnamed + ": is a HEIC file, which cannot be written; -o FILE.jpg makes a JPEG\n");
    EXPECT_EQ(bytesOf(misnamed), file);
}

TEST(Heic, WarnsOfColoursThatNumbersDescribe) {
    const struct {
        unsigned char primaries, curve;
        bool kept;
    } cases[] = {{1, 13, true}, {2, 2, true}, {12, 13, false}, {9, 16, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(int{c.primaries});
        const Bytes colours = {0, c.primaries, 0, c.curve, 0, 6, 0x80};
        const Bytes file = heicOf(noisyPicture(64, 64), heif_orientation_normal, exifBlock(1), colours, "nclx");
        if (file.empty()) GTEST_SKIP() << "libheif has no encoder for HEIC";
        const std::vector<std::string> warnings = decode(file).warnings;
        EXPECT_EQ(warnings.empty(), c.kept);
        EXPECT_TRUE(c.kept || warnings.at(0).starts_with("colours not kept"));
    }
}

TEST(Heic, FindsExifBehindTheHeaderOfAJpeg) {
    const std::string_view header = "\0\0\0\6Exif\0\0"sv;  // a number that leads past the header, and the header
    Bytes exif = bytesFrom(header.substr(4));
    const Bytes block = exifBlock(6);
    exif.insert(exif.end(), block.begin(), block.end());
    Bytes file = heicOf(noisyPicture(64, 64), heif_orientation_normal, exif, {});
    if (file.empty()) GTEST_SKIP() << "libheif has no encoder for HEIC";
    const auto number = std::search(file.begin(), file.end(), header.begin(), header.end());
    ASSERT_NE(number, file.end());
    number[3] = 0;
    EXPECT_EQ(decode(file).metadata.exif, block);
}

#endif

}  // namespace
