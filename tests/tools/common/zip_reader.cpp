#include "common/zip_reader.h"

#include <gtest/gtest.h>

#include "tests/tools/common/zip_builder.h"

namespace {

using q7tools::FormatError;
using q7tools::ZipEntry;
using q7tools::ZipLimits;
using q7tools::ZipReader;
using ziptest::Entry;
using ziptest::Form;
using ziptest::ZipBuilder;

std::vector<std::byte> bytesOf(std::string_view text) {
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

std::string dataOf(const ZipReader& zip, std::string_view name) {
    const ZipEntry* entry = zip.find(name);
    if (entry == nullptr) return "(missing)";
    return std::string(ziptest::asText(zip.read(*entry)));
}

std::string told(const FormatError& error) {
    return std::to_string(error.offset()) + ": " + error.what();
}

// Reads all there is. Gives the fault, or an empty text.
std::string faultOf(std::string_view text, const ZipLimits& limits = {}) {
    const std::vector<std::byte> bytes = bytesOf(text);
    try {
        const ZipReader zip(bytes, limits);
        for (const ZipEntry& entry : zip.entries())
            zip.check(entry);
    } catch (const FormatError& error) {
        return told(error);
    }
    return {};
}

std::string faultOf(const ZipBuilder& zip, const ZipLimits& limits = {}) {
    return faultOf(zip.build(), limits);
}

std::string faultOf(Entry entry) {
    return faultOf(ZipBuilder().add(std::move(entry)));
}

// Of an archive with this entry alone, where its record in the directory is.
std::size_t recordOf(const Entry& entry) {
    return ZipBuilder().add(entry).build().find("PK\x01\x02");
}

ZipBuilder smallArchive() {
    ZipBuilder zip;
    zip.add("1.q7mesh", std::string(300, 'm')).folder("textures/");
    zip.add(Entry{.name = "textures/\xc3\xa4.png", .data = "pixels", .form = Form::descriptor});
    return zip;
}

const std::string someData = "some data, some more data, and data again";

TEST(ZipReader, readsWhatIsThere) {
    const std::vector<std::byte> bytes = smallArchive().bytes();
    const ZipReader zip(bytes);
    ASSERT_EQ(zip.entries().size(), 3U);
    const ZipEntry& stream = zip.entries()[0];
    EXPECT_EQ(stream.name, "1.q7mesh");
    EXPECT_EQ(stream.size, 300U);
    EXPECT_LT(stream.packedSize, 20U);
    EXPECT_EQ(stream.headerOffset, 0U);
    EXPECT_EQ(stream.dataOffset, 38U);
    EXPECT_TRUE(stream.hasUtf8Flag());
    EXPECT_FALSE(stream.isStored());
    EXPECT_FALSE(stream.isFolder());
    EXPECT_TRUE(zip.entries()[1].isFolder());
    EXPECT_TRUE(zip.entries()[1].isStored());
    EXPECT_EQ(zip.find("1.Q7MESH"), nullptr);
    EXPECT_EQ(dataOf(zip, "1.q7mesh"), std::string(300, 'm'));
    EXPECT_EQ(dataOf(zip, "textures/"), "");
    EXPECT_EQ(dataOf(zip, "textures/\xc3\xa4.png"), "pixels");
    EXPECT_EQ(zip.size(), bytes.size());
    EXPECT_EQ(zip.commentSize(), 0U);
    EXPECT_EQ(zip.looseBytes(), 0U);
}

TEST(ZipReader, readsEmptyArchives) {
    const std::vector<std::byte> bytes = ZipBuilder().bytes();
    EXPECT_EQ(bytes.size(), 22U);
    EXPECT_TRUE(ZipReader(bytes).entries().empty());
}

TEST(ZipReader, readsEveryFormOfAnEntry) {
    for (const Form form : {Form::plain, Form::descriptor, Form::unsignedDescriptor,
                            Form::zip64Descriptor, Form::zip64}) {
        for (const std::uint16_t method : {std::uint16_t{0}, std::uint16_t{8}}) {
            for (const std::string& data : {std::string(), someData, std::string(200'000, 'x')}) {
                ZipBuilder builder;
                builder.add(Entry{.name = "a", .data = data, .form = form, .method = method});
                builder.add("b", "behind");
                const std::vector<std::byte> bytes = builder.bytes();
                const ZipReader zip(bytes);
                EXPECT_EQ(dataOf(zip, "a"), data);
                EXPECT_EQ(dataOf(zip, "b"), "behind");
                EXPECT_EQ(zip.looseBytes(), 0U) << static_cast<int>(form);
            }
        }
    }
}

TEST(ZipReader, readsDataThatDoNotDeflate) {
    std::string noise;
    std::uint32_t state = 1;
    for (int i = 0; i < 300'000; ++i) {
        state = state * 1664525U + 1013904223U;
        noise += static_cast<char>(state >> 24);
    }
    const std::vector<std::byte> bytes = ZipBuilder().add("n", noise).bytes();
    EXPECT_EQ(dataOf(ZipReader(bytes), "n"), noise);
}

TEST(ZipReader, readsZip64Ends) {
    ZipBuilder builder = smallArchive();
    builder.zip64End = true;
    std::vector<std::byte> bytes = builder.bytes();
    EXPECT_EQ(dataOf(ZipReader(bytes), "1.q7mesh"), std::string(300, 'm'));
    builder.count = std::uint16_t{3};  // told in both places
    bytes = builder.bytes();
    EXPECT_EQ(ZipReader(bytes).entries().size(), 3U);
}

TEST(ZipReader, commentsAndLooseBytesAreCounted) {
    ZipBuilder builder;
    builder.add(Entry{.name = "a", .data = someData, .behind = "loose"}).add("b", "b");
    builder.comment = "PK\x05\x06 is no end here";
    const std::vector<std::byte> bytes = builder.bytes();
    const ZipReader zip(bytes);
    EXPECT_EQ(zip.commentSize(), builder.comment.size());
    EXPECT_EQ(zip.looseBytes(), 5U);
    EXPECT_EQ(dataOf(zip, "a"), someData);
}

TEST(ZipReader, otherFilesAreRefused) {
    EXPECT_EQ(faultOf(""), "0: not a zip archive");
    EXPECT_EQ(faultOf("<!DOCTYPE html>"), "0: not a zip archive");
    EXPECT_EQ(faultOf(std::string(100'000, 'x')), "0: not a zip archive");
    EXPECT_EQ(faultOf("PK\x03\x04"), "4: the archive is cut off: its end record is missing");
}

TEST(ZipReader, everyTruncationIsRefused) {
    for (const bool zip64 : {false, true}) {
        ZipBuilder builder = smallArchive();
        builder.zip64End = zip64;
        const std::string whole = builder.build();
        for (std::size_t size = 0; size < whole.size(); ++size) {
            EXPECT_NE(faultOf(whole.substr(0, size)), "") << size;
        }
    }
}

TEST(ZipReader, damagedBytesNeverDoHarm) {
    ZipBuilder builder = smallArchive();
    builder.add(Entry{.name = "z", .data = someData, .form = Form::zip64});
    builder.zip64End = true;
    const std::string sound = builder.build();
    std::size_t refused = 0;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = sound;
            damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
            if (!faultOf(damaged).empty()) ++refused;
        }
    }
    // Times, versions and attributes say nothing about the data.
    EXPECT_GT(refused, sound.size() * 8 / 2);
    EXPECT_LT(refused, sound.size() * 8);
}

TEST(ZipReader, endsMustFit) {
    ZipBuilder builder = smallArchive();
    builder.directoryOffset = 7;
    EXPECT_NE(faultOf(builder).find("the directory would be"), std::string::npos);
    builder = smallArchive();
    builder.directorySize = 0xFFFFFFF0;
    EXPECT_NE(faultOf(builder).find("the directory would be 4294967280 bytes long"),
              std::string::npos);
    builder = smallArchive();
    builder.count = std::uint16_t{2};
    EXPECT_NE(faultOf(builder).find("the directory goes on behind its 2 entries"),
              std::string::npos);
    builder.add(std::string(100, 'n'), "x");
    builder.count = std::uint16_t{5};
    EXPECT_NE(faultOf(builder).find("an entry's record in the directory does not fit"),
              std::string::npos);
    builder.count = std::uint16_t{400};
    EXPECT_NE(faultOf(builder).find("too few for its 400 entries"), std::string::npos);
    builder = smallArchive();
    builder.disk = 1;
    EXPECT_NE(faultOf(builder).find("one part of an archive in several parts"), std::string::npos);
}

TEST(ZipReader, zip64EndsMustFit) {
    ZipBuilder builder = smallArchive();
    builder.zip64End = true;
    builder.zip64Skew = 1;
    EXPECT_NE(faultOf(builder).find("leaves no room for it"), std::string::npos);
    builder.zip64Skew = static_cast<std::uint64_t>(-1);
    EXPECT_NE(faultOf(builder).find("the zip64 end record is not there"), std::string::npos);
    builder.zip64Skew = 0x8000000000000000;
    EXPECT_NE(faultOf(builder).find("leaves no room for it"), std::string::npos);
    builder.zip64Skew = 0;
    builder.count = std::uint16_t{2};
    EXPECT_NE(faultOf(builder).find("tell different numbers"), std::string::npos);
}

TEST(ZipReader, namesThatLeaveTheFolderAreRefused) {
    const std::vector<std::pair<std::string, std::string>> bad = {
        {"", "it has no name"},
        {"../a", "its name climbs out of its folder"},
        {"textures/../../a", "its name climbs out of its folder"},
        {"..", "its name climbs out of its folder"},
        {"/etc/a", "its name is absolute"},
        {"C:/a", "its name is absolute"},
        {"textures\\a", "its name holds a backslash"},
        {std::string("a\0b", 3), "its name holds a zero"},
        {"a\xff", "its name is not UTF-8"}};
    for (const auto& [name, reason] : bad) {
        const Entry entry{.name = name, .data = "x"};
        const std::string fault = faultOf(entry);
        EXPECT_TRUE(fault.starts_with(std::to_string(recordOf(entry)) + ": entry \"")) << fault;
        EXPECT_TRUE(fault.ends_with(reason)) << fault;
    }
    EXPECT_EQ(faultOf(Entry{.name = "..a/b..", .data = "x"}), "");
    EXPECT_EQ(faultOf(Entry{.name = "a\xff", .data = "x", .flags = 0}), "");
}

TEST(ZipReader, duplicatesAreRefused) {
    ZipBuilder twice;
    twice.add("a", "1").add("b", "2").add("a", "3");
    EXPECT_TRUE(faultOf(twice).find("entry \"a\": it is in the directory twice; the first is at "
                                    "byte ") != std::string::npos)
        << faultOf(twice);
    EXPECT_NE(faultOf(ZipBuilder().add("textures", "").folder("textures/")), "");
}

TEST(ZipReader, otherKindsOfEntriesAreRefused) {
    const auto reasonOf = [](const Entry& entry) {
        const std::string fault = faultOf(entry);
        const std::string start = std::to_string(recordOf(entry)) + ": entry \"a\": ";
        EXPECT_TRUE(fault.starts_with(start)) << fault;
        return fault.substr(std::min(start.size(), fault.size()));
    };
    for (const std::uint16_t flag : std::vector<std::uint16_t>{0x0001, 0x0040, 0x2000}) {
        EXPECT_EQ(reasonOf({.name = "a", .data = "x", .flags = flag}), "it is encrypted");
    }
    EXPECT_EQ(reasonOf({.name = "a", .data = "x", .flags = 0x0020}), "it is a patch, not a file");
    EXPECT_EQ(reasonOf({.name = "a", .data = "x", .method = 12}),
              "it is packed by method 12; only 0 (stored) and 8 (deflated) are understood");
    EXPECT_EQ(faultOf(Entry{.name = "a/", .data = "x"}).find("it is a folder and yet has data") ==
                  std::string::npos,
              false);
    EXPECT_NE(faultOf(Entry{.name = "a", .data = "x", .disk = 1}).find("several parts"),
              std::string::npos);
}

TEST(ZipReader, headersMustAgreeWithTheDirectory) {
    const auto faultAtHeader = [](const Entry& entry, const std::string& what) {
        EXPECT_EQ(faultOf(entry),
                  "0: entry \"a\": its header and the directory tell different " + what);
    };
    faultAtHeader({.name = "a", .data = "x", .headerName = "b"}, "names");
    faultAtHeader({.name = "a", .data = "x", .headerFlags = 0}, "flags");
    faultAtHeader({.name = "a", .data = "x", .headerMethod = 0}, "methods");
    faultAtHeader({.name = "a", .data = "x", .headerSize = 2}, "sizes");
}

TEST(ZipReader, sizesThatLieAreRefused) {
    const auto ends = [](const std::string& text, const std::string& end) {
        EXPECT_TRUE(text.ends_with(end)) << text;
    };
    ends(faultOf(Entry{.name = "a", .data = someData, .size = 5}),
         "its data unpack to more than the 5 bytes that it tells");
    ends(faultOf(Entry{.name = "a", .data = someData, .size = 1'000'000}),
         "its data unpack to 41 bytes, not to the 1000000 that it tells");
    ends(faultOf(Entry{.name = "a", .data = someData, .packedSize = 3}), "its data are cut off");
    ends(faultOf(Entry{.name = "a", .data = someData, .packedSize = 1'000}),
         " come before the directory");
    ends(faultOf(Entry{.name = "a", .data = someData, .method = 0, .size = 3}),
         "it is stored, but its sizes differ: 41 bytes packed, 3 unpacked");
    ends(faultOf(Entry{.name = "a", .data = "x", .packed = ziptest::deflated("x") + "yz"}),
         "2 bytes follow the end of its deflated data");
}

TEST(ZipReader, damagedDataAreRefused) {
    const std::string start = "31: entry \"a\": ";
    EXPECT_EQ(faultOf(Entry{.name = "a", .data = "x", .packed = "\xff\xff\xff"}),
              start + "its data are damaged: they are not deflated");
    EXPECT_EQ(faultOf(Entry{.name = "a", .data = "x", .packed = ""}),
              start + "its data are cut off");
    EXPECT_EQ(faultOf(Entry{.name = "a", .data = "x", .crc = 0x12345678}),
              start + "its data have the CRC 8cdc1683, not 12345678");
    EXPECT_EQ(faultOf(Entry{.name = "a", .data = "x", .method = 0, .crc = 1}),
              start + "its data have the CRC 8cdc1683, not 00000001");
}

TEST(ZipReader, descriptorsMustAgree) {
    ZipBuilder builder;
    builder.add(Entry{.name = "a", .data = someData, .form = Form::descriptor});
    std::string text = builder.build();
    const std::size_t descriptor = text.find("PK\x07\x08");
    text[descriptor + 5] = static_cast<char>(text[descriptor + 5] ^ 1);
    EXPECT_EQ(faultOf(text), std::to_string(descriptor) +
                                 ": entry \"a\": what stands behind its data does not agree with "
                                 "the directory");
}

TEST(ZipReader, overlapsAreRefused) {
    ZipBuilder builder;
    // The second entry's header is inside the data of the first.
    ZipBuilder inner;
    inner.add(Entry{.name = "b", .data = "x"});
    const std::string header = inner.build().substr(0, inner.build().find("PK\x01\x02"));
    builder.add(Entry{.name = "a", .data = header, .method = 0});
    builder.add(Entry{.name = "b", .data = "x", .headerOffset = 31});
    EXPECT_EQ(faultOf(builder), "0: entry \"a\": it overlaps the entry \"b\" at byte 31");

    ZipBuilder same;
    same.add("a", "x").add(Entry{.name = "b", .data = "x", .headerOffset = 0});
    EXPECT_NE(faultOf(same), "");
}

TEST(ZipReader, entriesStartBeforeTheDirectory) {
    const Entry entry{.name = "a", .data = "x", .headerOffset = 0x70000000};
    EXPECT_NE(faultOf(entry).find("it would start at byte 1879048192, but the directory starts at"),
              std::string::npos);
    EXPECT_NE(faultOf(Entry{.name = "a", .data = "x", .headerOffset = 1})
                  .find("an entry's header is not there"),
              std::string::npos);
}

TEST(ZipReader, extraFieldsMustFit) {
    const std::string tooLong("\x01\x00\xff\x00", 4);
    EXPECT_NE(faultOf(Entry{.name = "a", .data = "x", .extra = tooLong})
                  .find("a part of an entry's extra field is longer than the field"),
              std::string::npos);
    const std::string other("\x0a\x00\x02\x00zz", 6);
    EXPECT_EQ(faultOf(Entry{.name = "a", .data = "x", .extra = other}), "");
    const std::string emptyZip64("\x01\x00\x00\x00", 4);
    EXPECT_NE(faultOf(Entry{.name = "a", .data = "x", .size = 0xFFFFFFFF, .extra = emptyZip64})
                  .find("an entry's zip64 numbers are cut off"),
              std::string::npos);
}

TEST(ZipReader, bombsAreRefused) {
    ZipBuilder builder;
    builder.add("a", std::string(50'000, '\0')).add("b", std::string(50'000, '\0'));
    const std::string text = builder.build();
    EXPECT_EQ(faultOf(text, {.always = 100'000, .ratio = 1}), "");
    const std::string fault = faultOf(text, {.always = 99'999, .ratio = 1});
    EXPECT_NE(fault.find("entry \"b\": with its 50000 bytes the archive would unpack to more than "
                         "99999 bytes, the most that one of " +
                         std::to_string(text.size()) + " bytes may"),
              std::string::npos)
        << fault;
    EXPECT_EQ(faultOf(text, {.always = 0, .ratio = 1000}), "");
    EXPECT_NE(faultOf(text, {.always = 0, .ratio = 10}), "");
}

TEST(ZipReader, theLimitsOfEveryDayStopABomb) {
    EXPECT_NE(faultOf(Entry{.name = "a", .data = "x", .size = 0x70000000})
                  .find("the archive would unpack to more than 67108864 bytes"),
              std::string::npos);
}

}  // namespace
