// Makes zip archives by hand, byte by byte, sound ones and others.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ziptest {

inline std::string_view asText(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline std::uint32_t crcOf(std::string_view data) {
    return static_cast<std::uint32_t>(
        crc32_z(0, reinterpret_cast<const Bytef*>(data.data()), data.size()));
}

inline std::string deflated(std::string_view data, int level = 9) {
    z_stream stream{};
    if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("deflateInit2");
    }
    std::string packed(deflateBound(&stream, static_cast<uLong>(data.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("deflate");
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

enum class Form {
    plain,
    descriptor,          // numbers behind the data, with a signature
    unsignedDescriptor,  // without one
    zip64Descriptor,     // with sizes of 8 bytes
    zip64                // sizes and offset in extra fields
};

// What a record tells. Each number that a test does not set is the right one.
struct Entry {
    std::string name = {};
    std::string data = {};
    Form form = Form::plain;
    std::uint16_t flags = 0x0800;  // UTF-8
    std::uint16_t method = 8;
    std::optional<std::string> packed = std::nullopt;
    // In the directory and in the entry's own header.
    std::optional<std::uint32_t> crc = std::nullopt;
    std::optional<std::uint32_t> packedSize = std::nullopt;
    std::optional<std::uint32_t> size = std::nullopt;
    // In the directory alone.
    std::optional<std::uint32_t> headerOffset = std::nullopt;
    std::uint16_t disk = 0;
    std::string extra = {};
    // In the entry's own header alone.
    std::optional<std::string> headerName = std::nullopt;
    std::optional<std::uint16_t> headerFlags = std::nullopt;
    std::optional<std::uint16_t> headerMethod = std::nullopt;
    std::optional<std::uint32_t> headerSize = std::nullopt;
    std::string behind = {};  // what comes behind the data and the descriptor
};

class ZipBuilder {
  public:
    ZipBuilder& add(Entry entry) {
        entries_.push_back(std::move(entry));
        return *this;
    }
    ZipBuilder& add(const std::string& name, const std::string& data) {
        return add(Entry{name, data});
    }
    ZipBuilder& folder(const std::string& name) {
        return add(Entry{.name = name, .data = {}, .method = 0});
    }

    Entry& entry(std::string_view name) {
        for (Entry& one : entries_) {
            if (one.name == name) return one;
        }
        throw std::runtime_error("no such entry");
    }
    void remove(std::string_view name) {
        std::erase_if(entries_, [name](const Entry& one) { return one.name == name; });
    }

    // The end's numbers, where they are not to be right.
    std::optional<std::uint16_t> count;
    std::optional<std::uint32_t> directorySize;
    std::optional<std::uint32_t> directoryOffset;
    std::uint16_t disk = 0;
    std::string comment;
    bool zip64End = false;
    std::uint64_t zip64Skew = 0;  // added to the locator's offset

    std::string build() const {
        Bytes file;
        std::vector<std::uint64_t> offsets;
        for (const Entry& one : entries_) {
            offsets.push_back(file.text.size());
            writeEntry(file, one);
        }
        const std::uint64_t start = file.text.size();
        for (std::size_t i = 0; i < entries_.size(); ++i)
            writeRecord(file, entries_[i], offsets[i]);
        writeEnd(file, start);
        return file.text;
    }

    std::vector<std::byte> bytes() const {
        const std::string text = build();
        const auto* first = reinterpret_cast<const std::byte*>(text.data());
        return std::vector<std::byte>(first, first + text.size());
    }

  private:
    struct Bytes {
        std::string text;

        void number(std::uint64_t value, int size) {
            for (int i = 0; i < size; ++i)
                text += static_cast<char>(value >> (8 * i) & 0xFF);
        }
        void two(std::uint64_t value) { number(value, 2); }
        void four(std::uint64_t value) { number(value, 4); }
        void eight(std::uint64_t value) { number(value, 8); }
    };

    struct Numbers {
        std::string packed;
        std::uint32_t crc;
        std::uint64_t packedSize;
        std::uint64_t size;
        std::uint16_t flags;
    };

    static Numbers numbersOf(const Entry& one) {
        Numbers numbers;
        const bool isPacked = one.method != 0;
        numbers.packed = one.packed ? *one.packed : isPacked ? deflated(one.data) : one.data;
        numbers.crc = one.crc.value_or(crcOf(one.data));
        numbers.packedSize =
            one.packedSize.value_or(static_cast<std::uint32_t>(numbers.packed.size()));
        numbers.size = one.size.value_or(static_cast<std::uint32_t>(one.data.size()));
        const bool hasDescriptor = one.form != Form::plain && one.form != Form::zip64;
        numbers.flags = static_cast<std::uint16_t>(one.flags | (hasDescriptor ? 8 : 0));
        return numbers;
    }

    static void writeEntry(Bytes& file, const Entry& one) {
        const Numbers numbers = numbersOf(one);
        const std::string name = one.headerName.value_or(one.name);
        const bool isZip64 = one.form == Form::zip64 || one.form == Form::zip64Descriptor;
        const bool isOpen = (numbers.flags & 8) != 0;
        file.four(0x04034b50);
        file.two(45);
        file.two(one.headerFlags.value_or(numbers.flags));
        file.two(one.headerMethod.value_or(one.method));
        file.four(0);
        file.four(isOpen ? 0 : numbers.crc);
        file.four(isZip64 ? 0xFFFFFFFF : isOpen ? 0 : numbers.packedSize);
        file.four(isZip64  ? 0xFFFFFFFF
                  : isOpen ? 0
                           : one.headerSize.value_or(static_cast<std::uint32_t>(numbers.size)));
        file.two(name.size());
        file.two(isZip64 ? 20 : 0);
        file.text += name;
        if (isZip64) {
            file.two(1);
            file.two(16);
            file.eight(isOpen ? 0 : numbers.size);
            file.eight(isOpen ? 0 : numbers.packedSize);
        }
        file.text += numbers.packed;
        writeDescriptor(file, one.form, numbers);
        file.text += one.behind;
    }

    static void writeDescriptor(Bytes& file, Form form, const Numbers& numbers) {
        if (form == Form::plain || form == Form::zip64) return;
        if (form != Form::unsignedDescriptor) file.four(0x08074b50);
        file.four(numbers.crc);
        const int width = form == Form::zip64Descriptor ? 8 : 4;
        file.number(numbers.packedSize, width);
        file.number(numbers.size, width);
    }

    static void writeRecord(Bytes& file, const Entry& one, std::uint64_t offset) {
        const Numbers numbers = numbersOf(one);
        const bool isZip64 = one.form == Form::zip64;
        const std::uint64_t told = one.headerOffset.value_or(static_cast<std::uint32_t>(offset));
        file.four(0x02014b50);
        file.two(45);
        file.two(45);
        file.two(numbers.flags);
        file.two(one.method);
        file.four(0);
        file.four(numbers.crc);
        file.four(isZip64 ? 0xFFFFFFFF : numbers.packedSize);
        file.four(isZip64 ? 0xFFFFFFFF : numbers.size);
        file.two(one.name.size());
        file.two(one.extra.size() + (isZip64 ? 28 : 0));
        file.two(0);
        file.two(one.disk);
        file.two(0);
        file.four(0);
        file.four(isZip64 ? 0xFFFFFFFF : told);
        file.text += one.name + one.extra;
        if (!isZip64) return;
        file.two(1);
        file.two(24);
        file.eight(numbers.size);
        file.eight(numbers.packedSize);
        file.eight(told);
    }

    void writeEnd(Bytes& file, std::uint64_t start) const {
        const std::uint64_t end = file.text.size();
        if (zip64End) {
            file.four(0x06064b50);
            file.eight(44);
            file.four(0);
            file.eight(0);
            file.eight(entries_.size());
            file.eight(entries_.size());
            file.eight(end - start);
            file.eight(start);
            file.four(0x07064b50);
            file.four(0);
            file.eight(end + zip64Skew);
            file.four(1);
        }
        file.four(0x06054b50);
        file.two(disk);
        file.two(disk);
        const std::uint64_t told = count      ? *count
                                   : zip64End ? 0xFFFF
                                              : static_cast<std::uint64_t>(entries_.size());
        file.two(told);
        file.two(told);
        file.four(directorySize ? *directorySize : zip64End ? 0xFFFFFFFF : end - start);
        file.four(directoryOffset ? *directoryOffset : zip64End ? 0xFFFFFFFF : start);
        file.two(comment.size());
        file.text += comment;
    }

    std::vector<Entry> entries_;
};

}  // namespace ziptest
