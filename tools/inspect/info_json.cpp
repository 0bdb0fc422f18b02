#include "inspect/info_json.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string_view>

#include "common/text_output.h"
#include "support/text.h"

namespace q7inspect {

using nlohmann::json;

namespace {

constexpr std::string_view idsKey = "instanceIdArray";
constexpr std::string_view productKey = "productID";
constexpr std::uint64_t mostToldKeys = 100;

// Takes the two members out of the text as it is parsed: the text may hold anything, and need not
// be held as a whole tree.
class Handler : public nlohmann::json_sax<json> {
  public:
    explicit Handler(InfoJson& info) : info_(info) {}

    bool isObject() const { return isObject_; }

    bool null() override { return otherValue(); }
    bool boolean(bool) override { return otherValue(); }
    bool number_integer(number_integer_t) override { return otherValue(); }
    bool number_unsigned(number_unsigned_t) override { return otherValue(); }
    bool number_float(number_float_t, const string_t&) override { return otherValue(); }
    bool binary(binary_t&) override { return otherValue(); }

    bool string(string_t& text) override {
        if (depth_ == 1 && key_ == productKey) {
            info_.productId = std::move(text);
        } else if (depth_ == 2 && inIds_) {
            info_.instanceIds->push_back(std::move(text));
        } else {
            return otherValue();
        }
        return true;
    }

    bool start_object(std::size_t) override {
        if (depth_ == 0) {
            isObject_ = true;
        } else {
            otherValue();
        }
        ++depth_;
        return true;
    }

    bool key(string_t& text) override {
        if (depth_ != 1) return true;
        const bool isUnknown = text != idsKey && text != productKey;
        if (isUnknown && ++unknownKeys_ <= mostToldKeys) {
            add("unknown key " + q7tools::inQuotes(utf8ToWide(text)));
        }
        key_ = std::move(text);
        return true;
    }

    bool start_array(std::size_t) override {
        if (depth_ == 1 && key_ == idsKey) {
            info_.instanceIds.emplace();
            inIds_ = true;
        } else {
            otherValue();
        }
        ++depth_;
        return true;
    }

    bool end_object() override { return leave(); }
    bool end_array() override { return leave(); }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception&) override {
        info_.faults.push_back({position == 0 ? 0 : position - 1, "the text is not JSON"});
        return false;
    }

    void tellOthers() {
        if (unknownKeys_ > mostToldKeys) {
            add(q7tools::counted(unknownKeys_ - mostToldKeys, "more unknown key",
                                 "more unknown keys"));
        }
        if (othersInIds_ == 0) return;
        add("\"" + std::string(idsKey) + "\" holds " +
            q7tools::counted(othersInIds_, "element", "elements") + " that are not strings");
    }

  private:
    void add(std::string reason) { info_.faults.push_back({0, std::move(reason)}); }

    bool leave() {
        --depth_;
        if (depth_ == 1) inIds_ = false;
        return true;
    }

    // A value where another kind of value is due.
    bool otherValue() {
        if (depth_ == 2 && inIds_) ++othersInIds_;
        if (depth_ != 1) return true;
        if (key_ == idsKey) add("\"" + key_ + "\" is not an array");
        if (key_ == productKey) add("\"" + key_ + "\" is not a string");
        return true;
    }

    InfoJson& info_;
    std::size_t depth_ = 0;
    bool isObject_ = false;
    bool inIds_ = false;
    std::string key_;
    std::uint64_t othersInIds_ = 0;
    std::uint64_t unknownKeys_ = 0;
};

void checkProductId(InfoJson& info) {
    constexpr std::size_t digitCount = 32;
    const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); };
    const std::string& id = *info.productId;
    if (id.size() == digitCount && std::ranges::all_of(id, isDigit)) return;
    info.faults.push_back({0, "\"productID\" is " + q7tools::inQuotes(utf8ToWide(id)) +
                                  ", not 32 upper-case hexadecimal digits"});
}

std::string compactText(const InfoJson& info) {
    std::string text = "{";
    if (info.instanceIds) {
        text += "\"instanceIdArray\":[";
        for (const std::string& id : *info.instanceIds) {
            if (text.back() != '[') text += ',';
            text += json(id).dump();
        }
        text += "],";
    }
    return text + "\"productID\":" + json(*info.productId).dump() + '}';
}

// The order of keys, keys that are there twice, blanks, escapes: one text alone is right.
void checkForm(InfoJson& info, std::string_view text) {
    const std::string expected = compactText(info);
    const auto [at, unused] = std::ranges::mismatch(text, expected);
    if (text == expected) return;
    info.faults.push_back({static_cast<std::uint64_t>(at - text.begin()),
                           "the text is not in the compact form with sorted keys"});
}

}  // namespace

InfoJson readInfoJson(std::span<const std::byte> bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    InfoJson info;
    Handler handler(info);
    if (!json::sax_parse(text, &handler)) {
        info.instanceIds.reset();
        info.productId.reset();
        return info;
    }
    handler.tellOthers();
    if (!handler.isObject()) {
        info.faults.push_back({0, "the text is not a JSON object"});
        return info;
    }
    if (info.instanceIds && info.instanceIds->empty()) {
        info.faults.push_back({0, "\"instanceIdArray\" is empty, and should not be there"});
    }
    const bool isTold = std::ranges::any_of(
        info.faults, [](const Fault& fault) { return fault.reason.starts_with("\"productID\""); });
    if (info.productId) {
        checkProductId(info);
    } else if (!isTold) {
        info.faults.push_back({0, "the key \"productID\" is missing"});
    }
    if (info.faults.empty()) checkForm(info, text);
    return info;
}

}  // namespace q7inspect
