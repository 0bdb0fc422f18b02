#include "common/zip_reader.h"

#define ZLIB_CONST
#include <zlib.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <limits>
#include <new>
#include <numeric>
#include <unordered_map>

#include "common/text_output.h"

namespace q7tools {

namespace {

using Bytes = std::span<const std::byte>;

constexpr std::uint32_t headerSignature = 0x04034b50;
constexpr std::uint32_t recordSignature = 0x02014b50;
constexpr std::uint32_t descriptorSignature = 0x08074b50;
constexpr std::uint32_t endSignature = 0x06054b50;
constexpr std::uint32_t end64Signature = 0x06064b50;
constexpr std::uint32_t locatorSignature = 0x07064b50;

constexpr std::uint64_t recordSize = 46;
constexpr std::uint64_t endSize = 22;
constexpr std::uint64_t end64Size = 56;
constexpr std::uint64_t locatorSize = 20;
constexpr std::uint64_t longestComment = 0xFFFF;

// A field with all its bits set has its value in the zip64 part.
constexpr std::uint32_t elsewhere = 0xFFFFFFFF;
constexpr std::uint16_t elsewhereShort = 0xFFFF;

constexpr std::uint16_t methodStored = 0;
constexpr std::uint16_t methodDeflated = 8;

constexpr std::uint16_t flagEncrypted = 0x0001;
constexpr std::uint16_t flagPatch = 0x0020;
constexpr std::uint16_t flagStrongEncryption = 0x0040;
constexpr std::uint16_t flagMasked = 0x2000;

std::uint64_t littleEndian(Bytes bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = value << 8 | std::to_integer<std::uint64_t>(bytes[i]);
    return value;
}

std::string hex(std::uint32_t value) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (int shift = 28; shift >= 0; shift -= 4)
        text += digits[(value >> shift) & 0xFU];
    return text;
}

std::string quotedUtf8(std::string_view utf8) {
    return inQuotes(utf8ToWide(utf8));
}

[[noreturn]] void fail(std::uint64_t offset, const std::string& reason) {
    throw FormatError(offset, reason);
}

[[noreturn]] void failEntry(std::uint64_t offset, const ZipEntry& entry,
                            const std::string& reason) {
    fail(offset, "entry " + quotedUtf8(entry.name) + ": " + reason);
}

// A part of the file, read field by field from its start.
class Fields {
  public:
    // From `start` to `end`, which must be inside the bytes; what is behind that is as good as not
    // there.
    Fields(Bytes bytes, std::uint64_t start, std::uint64_t end, std::string_view what)
        : bytes_(bytes), start_(start), at_(start), end_(end), what_(what) {}

    std::uint64_t start() const { return start_; }
    std::uint64_t at() const { return at_; }

    Bytes take(std::uint64_t size) {
        if (at_ > end_ || size > end_ - at_) {
            fail(start_, std::string(what_) + " does not fit: it goes on behind byte " +
                             std::to_string(end_));
        }
        const Bytes part =
            bytes_.subspan(static_cast<std::size_t>(at_), static_cast<std::size_t>(size));
        at_ += size;
        return part;
    }

    template <std::unsigned_integral Number>
    Number take() {
        return static_cast<Number>(littleEndian(take(sizeof(Number))));
    }

    std::string takeText(std::uint64_t size) {
        const Bytes text = take(size);
        return {reinterpret_cast<const char*>(text.data()), text.size()};
    }

    void expectSignature(std::uint32_t signature) {
        if (take<std::uint32_t>() == signature) return;
        fail(start_, std::string(what_) + " is not there: its signature is missing");
    }

  private:
    Bytes bytes_;
    std::uint64_t start_;
    std::uint64_t at_;
    std::uint64_t end_;
    std::string_view what_;
};

// The directory as the records at the archive's end tell it.
struct Directory {
    std::uint64_t count = 0;
    std::uint64_t size = 0;
    std::uint64_t offset = 0;
    std::uint64_t end = 0;  // where the records at the archive's end start
    std::uint64_t commentSize = 0;
};

bool hasSignature(Bytes bytes, std::uint64_t offset, std::uint32_t signature) {
    return offset <= bytes.size() && bytes.size() - offset >= sizeof signature &&
           littleEndian(bytes.subspan(static_cast<std::size_t>(offset), sizeof signature)) ==
               signature;
}

std::uint64_t findEnd(Bytes bytes) {
    const std::uint64_t size = bytes.size();
    const std::uint64_t most = size < endSize ? 0 : std::min(size - endSize, longestComment) + 1;
    for (std::uint64_t comment = 0; comment < most; ++comment) {
        const std::uint64_t at = size - endSize - comment;
        if (!hasSignature(bytes, at, endSignature)) continue;
        if (littleEndian(bytes.subspan(static_cast<std::size_t>(at) + 20, 2)) == comment) return at;
    }
    if (!hasSignature(bytes, 0, headerSignature)) fail(0, "not a zip archive");
    fail(size, "the archive is cut off: its end record is missing");
}

[[noreturn]] void failParts(std::uint64_t offset) {
    fail(offset, "one part of an archive in several parts");
}

// The record that holds the numbers which do not fit into the end record at `end`.
Directory readEnd64(Bytes bytes, std::uint64_t end) {
    Fields locator(bytes, end - locatorSize, end, "the zip64 locator");
    locator.expectSignature(locatorSignature);
    if (locator.take<std::uint32_t>() != 0) failParts(locator.start());
    const auto offset = locator.take<std::uint64_t>();
    if (locator.take<std::uint32_t>() > 1) failParts(locator.start());
    if (offset > locator.start() || locator.start() - offset < end64Size) {
        fail(locator.start(), "the zip64 end record would be at byte " + std::to_string(offset) +
                                  ", which leaves no room for it");
    }
    Fields record(bytes, offset, locator.start(), "the zip64 end record");
    record.expectSignature(end64Signature);
    const auto size = record.take<std::uint64_t>();
    if (size != locator.start() - record.at()) {
        fail(offset, "the zip64 end record does not end where its locator starts");
    }
    record.take(4);  // versions
    const auto disks = record.take<std::uint64_t>();
    const auto countHere = record.take<std::uint64_t>();
    Directory directory;
    directory.count = record.take<std::uint64_t>();
    if (disks != 0 || countHere != directory.count) failParts(offset);
    directory.size = record.take<std::uint64_t>();
    directory.offset = record.take<std::uint64_t>();
    directory.end = offset;
    return directory;
}

// The zip64 value of a field, which must be repeated by the short field or replaced by it.
template <std::unsigned_integral Short>
void checkRepeated(std::uint64_t offset, std::uint64_t value, Short field) {
    if (field == std::numeric_limits<Short>::max() || field == value) return;
    fail(offset, "the end record and the zip64 end record tell different numbers");
}

Directory readEnd(Bytes bytes) {
    const std::uint64_t end = findEnd(bytes);
    Fields record(bytes, end, bytes.size(), "the end record");
    record.expectSignature(endSignature);
    const auto disks = record.take<std::uint32_t>();
    const auto countHere = record.take<std::uint16_t>();
    const auto count = record.take<std::uint16_t>();
    const auto size = record.take<std::uint32_t>();
    const auto offset = record.take<std::uint32_t>();
    const auto commentSize = record.take<std::uint16_t>();
    if ((disks != 0 && disks != elsewhere) || countHere != count) failParts(end);

    Directory directory{count, size, offset, end, commentSize};
    if (end >= locatorSize && hasSignature(bytes, end - locatorSize, locatorSignature)) {
        directory = readEnd64(bytes, end);
        directory.commentSize = commentSize;
        checkRepeated(end, directory.count, count);
        checkRepeated(end, directory.size, size);
        checkRepeated(end, directory.offset, offset);
    }
    if (directory.offset > directory.end || directory.end - directory.offset != directory.size) {
        fail(end, "the directory would be " + std::to_string(directory.size) +
                      " bytes long and start at byte " + std::to_string(directory.offset) +
                      ", but it ends at byte " + std::to_string(directory.end));
    }
    if (directory.count > directory.size / recordSize) {
        fail(end, "the directory has " + std::to_string(directory.size) +
                      " bytes, too few for its " + counted(directory.count, "entry", "entries"));
    }
    return directory;
}

bool isUtf8(std::string_view text) {
    return allToUtf8(utf8ToWide(text)) == text;
}

bool climbs(std::string_view name) {
    for (;;) {
        const std::size_t slash = name.find('/');
        if (name.substr(0, slash) == "..") return true;
        if (slash == std::string_view::npos) return false;
        name.remove_prefix(slash + 1);
    }
}

void checkName(const ZipEntry& entry) {
    const std::string_view name = entry.name;
    const auto refuse = [&entry](const std::string& reason) {
        failEntry(entry.recordOffset, entry, reason);
    };
    if (name.empty()) refuse("it has no name");
    if (name.find('\0') != std::string_view::npos) refuse("its name holds a zero");
    if (entry.hasUtf8Flag() && !isUtf8(name)) refuse("its name is not UTF-8");
    if (name.find('\\') != std::string_view::npos) refuse("its name holds a backslash");
    const bool hasDrive = name.size() > 1 && name[1] == ':';
    if (name.starts_with('/') || hasDrive) refuse("its name is absolute");
    if (climbs(name)) refuse("its name climbs out of its folder");
}

void checkKind(const ZipEntry& entry) {
    const auto refuse = [&entry](const std::string& reason) {
        failEntry(entry.recordOffset, entry, reason);
    };
    if ((entry.flags & (flagEncrypted | flagStrongEncryption | flagMasked)) != 0) {
        refuse("it is encrypted");
    }
    if ((entry.flags & flagPatch) != 0) refuse("it is a patch, not a file");
    if (entry.method != methodStored && entry.method != methodDeflated) {
        refuse("it is packed by method " + std::to_string(entry.method) +
               "; only 0 (stored) and 8 (deflated) are understood");
    }
    if (entry.isStored() && entry.packedSize != entry.size) {
        refuse("it is stored, but its sizes differ: " + std::to_string(entry.packedSize) +
               " bytes packed, " + std::to_string(entry.size) + " unpacked");
    }
    if (entry.isFolder() && entry.size != 0) refuse("it is a folder and yet has data");
}

// The sizes that an entry's header or record tells, and where its header is.
struct Extent {
    std::uint64_t size = 0;
    std::uint64_t packedSize = 0;
    std::uint64_t headerOffset = 0;
};

// Replaces those numbers that stand in the zip64 part of the extra field, in this order.
void readZip64(Bytes extra, std::uint64_t extraOffset, Extent& extent) {
    constexpr std::uint16_t zip64Tag = 1;
    constexpr std::uint64_t tagSize = 4;
    Fields fields(extra, 0, extra.size(), "the extra field");
    while (extra.size() - fields.at() >= tagSize) {
        const auto tag = fields.take<std::uint16_t>();
        const auto size = fields.take<std::uint16_t>();
        if (size > extra.size() - fields.at()) {
            fail(extraOffset, "a part of an entry's extra field is longer than the field");
        }
        const Bytes part = fields.take(size);
        if (tag != zip64Tag) continue;
        std::size_t at = 0;
        for (std::uint64_t* number : {&extent.size, &extent.packedSize, &extent.headerOffset}) {
            if (*number != elsewhere) continue;
            if (part.size() - at < sizeof *number) {
                fail(extraOffset, "an entry's zip64 numbers are cut off");
            }
            *number = littleEndian(part.subspan(at, sizeof *number));
            at += sizeof *number;
        }
        return;
    }
}

ZipEntry readRecord(Bytes bytes, std::uint64_t offset, const Directory& directory,
                    std::uint64_t& next) {
    Fields fields(bytes, offset, directory.end, "an entry's record in the directory");
    fields.expectSignature(recordSignature);
    ZipEntry entry;
    entry.recordOffset = offset;
    fields.take(4);  // versions
    entry.flags = fields.take<std::uint16_t>();
    entry.method = fields.take<std::uint16_t>();
    fields.take(4);  // time
    entry.crc = fields.take<std::uint32_t>();
    Extent extent;
    extent.packedSize = fields.take<std::uint32_t>();
    extent.size = fields.take<std::uint32_t>();
    const auto nameSize = fields.take<std::uint16_t>();
    const auto extraSize = fields.take<std::uint16_t>();
    const auto commentSize = fields.take<std::uint16_t>();
    const auto disk = fields.take<std::uint16_t>();
    if (disk != 0 && disk != elsewhereShort) failParts(offset);
    fields.take(6);  // attributes
    extent.headerOffset = fields.take<std::uint32_t>();
    entry.name = fields.takeText(nameSize);
    const std::uint64_t extraOffset = fields.at();
    readZip64(fields.take(extraSize), extraOffset, extent);
    fields.take(commentSize);
    next = fields.at();

    entry.size = extent.size;
    entry.packedSize = extent.packedSize;
    entry.headerOffset = extent.headerOffset;
    checkName(entry);
    checkKind(entry);
    return entry;
}

// Goes through the entry's own header, to where its data start.
void readHeader(Bytes bytes, std::uint64_t end, ZipEntry& entry) {
    if (entry.headerOffset >= end) {
        failEntry(entry.recordOffset, entry,
                  "it would start at byte " + std::to_string(entry.headerOffset) +
                      ", but the directory starts at byte " + std::to_string(end));
    }
    Fields fields(bytes, entry.headerOffset, end, "an entry's header");
    fields.expectSignature(headerSignature);
    fields.take(2);  // version
    const auto flags = fields.take<std::uint16_t>();
    const auto method = fields.take<std::uint16_t>();
    fields.take(4);  // time
    const auto crc = fields.take<std::uint32_t>();
    Extent extent;
    extent.packedSize = fields.take<std::uint32_t>();
    extent.size = fields.take<std::uint32_t>();
    const auto nameSize = fields.take<std::uint16_t>();
    const auto extraSize = fields.take<std::uint16_t>();
    const std::string name = fields.takeText(nameSize);
    const std::uint64_t extraOffset = fields.at();
    readZip64(fields.take(extraSize), extraOffset, extent);
    entry.dataOffset = fields.at();

    const auto require = [&entry](bool agrees, std::string_view what) {
        if (agrees) return;
        failEntry(entry.headerOffset, entry,
                  "its header and the directory tell different " + std::string(what));
    };
    require(name == entry.name, "names");
    require(flags == entry.flags, "flags");
    require(method == entry.method, "methods");
    // A header that was written before the data may leave these open.
    const auto agrees = [&entry](std::uint64_t told, std::uint64_t right) {
        return told == right || (entry.hasDescriptor() && told == 0);
    };
    require(agrees(crc, entry.crc), "CRCs");
    require(agrees(extent.packedSize, entry.packedSize), "packed sizes");
    require(agrees(extent.size, entry.size), "sizes");
    if (entry.packedSize > end - entry.dataOffset) {
        failEntry(entry.recordOffset, entry,
                  "its data would have " + std::to_string(entry.packedSize) + " bytes, but only " +
                      std::to_string(end - entry.dataOffset) + " come before the directory");
    }
}

// The bytes that an entry's numbers take behind its data, in whichever of the forms in use: with
// or without a signature, with sizes of 8 or 4 bytes.
std::uint64_t descriptorSize(Bytes bytes, const ZipEntry& entry, std::uint64_t limit) {
    if (!entry.hasDescriptor()) return 0;
    const std::uint64_t start = entry.dataOffset + entry.packedSize;
    for (const bool isSigned : {true, false}) {
        for (const std::uint64_t width : {std::uint64_t{8}, std::uint64_t{4}}) {
            const std::uint64_t size = (isSigned ? 8 : 4) + 2 * width;
            if (limit - start < size) continue;
            Fields fields(bytes, start, limit, "an entry's data descriptor");
            if (isSigned && fields.take<std::uint32_t>() != descriptorSignature) continue;
            if (fields.take<std::uint32_t>() == entry.crc &&
                littleEndian(fields.take(width)) == entry.packedSize &&
                littleEndian(fields.take(width)) == entry.size) {
                return size;
            }
        }
    }
    failEntry(start, entry, "what stands behind its data does not agree with the directory");
}

// Gives the number of bytes before the directory that belong to no entry.
std::uint64_t checkPlaces(Bytes bytes, const std::vector<ZipEntry>& entries,
                          std::uint64_t directoryOffset) {
    std::vector<std::size_t> order(entries.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, {}, [&entries](std::size_t i) { return entries[i].headerOffset; });
    std::uint64_t loose = 0;
    std::uint64_t last = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const ZipEntry& entry = entries[order[i]];
        const std::uint64_t limit =
            i + 1 < order.size() ? entries[order[i + 1]].headerOffset : directoryOffset;
        if (entry.dataOffset > limit || entry.packedSize > limit - entry.dataOffset) {
            failEntry(entry.headerOffset, entry,
                      "it overlaps the entry " + quotedUtf8(entries[order[i + 1]].name) +
                          " at byte " + std::to_string(limit));
        }
        loose += entry.headerOffset - last;
        last = entry.dataOffset + entry.packedSize + descriptorSize(bytes, entry, limit);
    }
    return loose + directoryOffset - last;
}

void checkUnique(const std::vector<ZipEntry>& entries) {
    std::unordered_map<std::string_view, const ZipEntry*> firsts;
    for (const ZipEntry& entry : entries) {
        std::string_view name = entry.name;
        if (entry.isFolder()) name.remove_suffix(1);
        const auto [first, isNew] = firsts.emplace(name, &entry);
        if (isNew) continue;
        failEntry(entry.recordOffset, entry,
                  "it is in the directory twice; the first is at byte " +
                      std::to_string(first->second->recordOffset));
    }
}

void checkLimits(const std::vector<ZipEntry>& entries, std::uint64_t archiveSize,
                 const ZipLimits& limits) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t byRatio =
        limits.ratio != 0 && archiveSize > most / limits.ratio ? most : archiveSize * limits.ratio;
    std::uint64_t left = std::max(limits.always, byRatio);
    for (const ZipEntry& entry : entries) {
        if (entry.size > left) {
            failEntry(entry.recordOffset, entry,
                      "with its " + std::to_string(entry.size) +
                          " bytes the archive would unpack to more than " +
                          std::to_string(std::max(limits.always, byRatio)) +
                          " bytes, the most that one of " + std::to_string(archiveSize) +
                          " bytes may");
        }
        left -= entry.size;
    }
}

// A raw deflate stream that is read from memory.
class Inflater {
  public:
    explicit Inflater(Bytes packed) : left_(packed) {
        constexpr int rawDeflate = -MAX_WBITS;
        if (inflateInit2(&stream_, rawDeflate) != Z_OK) throw std::bad_alloc();
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater() { inflateEnd(&stream_); }

    // Fills the buffer from its start, and gives the part that was filled.
    Bytes next(std::span<std::byte> buffer) {
        feed();
        stream_.next_out = reinterpret_cast<Bytef*>(buffer.data());
        stream_.avail_out = static_cast<uInt>(buffer.size());
        code_ = inflate(&stream_, Z_NO_FLUSH);
        if (code_ == Z_MEM_ERROR) throw std::bad_alloc();
        return buffer.first(buffer.size() - stream_.avail_out);
    }

    bool isAtEnd() const { return code_ == Z_STREAM_END; }
    bool isStuck() const { return code_ == Z_BUF_ERROR; }
    bool isDamaged() const { return code_ != Z_OK && !isAtEnd() && !isStuck(); }
    std::uint64_t unread() const { return left_.size() + stream_.avail_in; }

  private:
    void feed() {
        if (stream_.avail_in != 0 || left_.empty()) return;
        constexpr std::size_t mostAtOnce = std::size_t{1} << 30;
        const Bytes part = left_.first(std::min(left_.size(), mostAtOnce));
        stream_.next_in = reinterpret_cast<const Bytef*>(part.data());
        stream_.avail_in = static_cast<uInt>(part.size());
        left_ = left_.subspan(part.size());
    }

    Bytes left_;
    z_stream stream_{};
    int code_ = Z_OK;
};

template <class Sink>
void inflateEntry(Bytes packed, const ZipEntry& entry, const Sink& sink) {
    const auto refuse = [&entry](const std::string& reason) {
        failEntry(entry.dataOffset, entry, reason);
    };
    Inflater inflater(packed);
    std::array<std::byte, std::size_t{1} << 16> buffer;
    std::uint64_t left = entry.size;
    while (!inflater.isAtEnd()) {
        const Bytes part = inflater.next(buffer);
        if (inflater.isDamaged()) refuse("its data are damaged: they are not deflated");
        if (inflater.isStuck()) refuse("its data are cut off");
        if (part.size() > left) {
            refuse("its data unpack to more than the " + std::to_string(entry.size) +
                   " bytes that it tells");
        }
        left -= part.size();
        sink(part);
    }
    if (left != 0) {
        refuse("its data unpack to " + std::to_string(entry.size - left) + " bytes, not to the " +
               std::to_string(entry.size) + " that it tells");
    }
    if (inflater.unread() != 0) {
        refuse(counted(inflater.unread(), "byte follows", "bytes follow") +
               " the end of its deflated data");
    }
}

}  // namespace

ZipReader::ZipReader(std::span<const std::byte> bytes, const ZipLimits& limits) : bytes_(bytes) {
    const Directory directory = readEnd(bytes);
    commentSize_ = directory.commentSize;
    std::uint64_t offset = directory.offset;
    entries_.reserve(static_cast<std::size_t>(directory.count));
    for (std::uint64_t i = 0; i < directory.count; ++i) {
        entries_.push_back(readRecord(bytes, offset, directory, offset));
    }
    if (offset != directory.end) {
        fail(offset,
             "the directory goes on behind its " + counted(directory.count, "entry", "entries"));
    }
    checkUnique(entries_);
    for (ZipEntry& entry : entries_)
        readHeader(bytes, directory.offset, entry);
    looseBytes_ = checkPlaces(bytes, entries_, directory.offset);
    checkLimits(entries_, bytes.size(), limits);
}

const ZipEntry* ZipReader::find(std::string_view name) const {
    const auto entry = std::ranges::find(entries_, name, &ZipEntry::name);
    return entry == entries_.end() ? nullptr : &*entry;
}

std::vector<std::byte> ZipReader::read(const ZipEntry& entry) const {
    // An entry may tell any size; its data unpack to no more than this.
    constexpr std::uint64_t highestRatio = 1032;
    const std::uint64_t possible = entry.packedSize * highestRatio;
    std::vector<std::byte> data;
    data.reserve(static_cast<std::size_t>(std::min(entry.size, possible)));
    unpack(entry, [&data](Bytes part) { data.insert(data.end(), part.begin(), part.end()); });
    return data;
}

void ZipReader::check(const ZipEntry& entry) const {
    unpack(entry, [](Bytes) {});
}

void ZipReader::unpack(const ZipEntry& entry, const Sink& sink) const {
    const Bytes packed = bytes_.subspan(static_cast<std::size_t>(entry.dataOffset),
                                        static_cast<std::size_t>(entry.packedSize));
    uLong crc = 0;
    const auto take = [&crc, &sink](Bytes part) {
        crc = crc32_z(crc, reinterpret_cast<const Bytef*>(part.data()), part.size());
        sink(part);
    };
    if (entry.isStored()) {
        take(packed);
    } else if (!(entry.isFolder() && packed.empty())) {
        inflateEntry(packed, entry, take);
    }
    if (crc != entry.crc) {
        failEntry(entry.dataOffset, entry,
                  "its data have the CRC " + hex(static_cast<std::uint32_t>(crc)) + ", not " +
                      hex(entry.crc));
    }
}

}  // namespace q7tools
