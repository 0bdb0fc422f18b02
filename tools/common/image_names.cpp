#include "common/image_names.h"

#include <algorithm>
#include <array>

namespace q7tools {

namespace {

constexpr std::array<WideView, 21> endings{
    u"bmp", u"cin", u"dds", u"dpx", u"exr", u"gif", u"hdr", u"ico", u"jp2",  u"jpeg", u"jpg",
    u"ktx", u"pcx", u"pic", u"png", u"ppm", u"psd", u"tga", u"tif", u"tiff", u"webp"};

char16_t smallLetter(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

}  // namespace

bool isImageName(WideView path) {
    const std::size_t dot = path.rfind(u'.');
    if (dot == WideView::npos || dot == 0) return false;
    if (path[dot - 1] == u'/' || path[dot - 1] == u'\\') return false;
    const WideView ending = path.substr(dot + 1);
    return std::ranges::any_of(endings, [ending](WideView known) {
        return std::ranges::equal(ending, known, {}, smallLetter);
    });
}

}  // namespace q7tools
