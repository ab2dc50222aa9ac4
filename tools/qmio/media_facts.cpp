#include "media_facts.h"

#include <utility>

namespace host {

namespace {

std::string field_order_of(const Source& source, int fields) {
    if (const auto told = source.text(QMIO_VIDEO, "field_order"); told)
        return *told;
    switch (fields) {
        case QMIO_PICTURE_TOP_FIELD_FIRST:
            return "tt";
        case QMIO_PICTURE_BOTTOM_FIELD_FIRST:
            return "bb";
        case QMIO_PICTURE_PROGRESSIVE:
            return "progressive";
        default:
            return "";
    }
}

}  // namespace

PictureFacts picture_facts(const Source& source, int fields) {
    PictureFacts facts;
    facts.format = source.text(QMIO_VIDEO, "pix_fmt").value_or("");
    facts.width = source.width();
    facts.height = source.height();
    facts.pixel_width = source.file_param("sar_num");
    facts.pixel_height = source.file_param("sar_den");
    // Pictures are delivered upright; the file tells of its pixels as they are stored.
    if (source.file_param("rotation") % 180 == 90)
        std::swap(facts.pixel_width, facts.pixel_height);
    facts.field_order = field_order_of(source, fields);
    for (const char* key : kColourKeys)
        if (const auto text = source.text(QMIO_VIDEO, key); text)
            facts.colours[key] = *text;
    // A time code from zero says as little as none, and MPEG-2 always has one.
    if (const auto code = source.text(QMIO_VIDEO, "timecode");
        code && code->find_first_not_of("0:;") != std::string::npos)
        facts.time_code = *code;
    return facts;
}

Tags kept_tags(const Source& source, int part) {
    Tags tags;
    if (const auto title = source.text(part, "title"); title && !title->empty())
        tags["title"] = *title;
    if (const auto language = source.text(part, "language"); part != QMIO_CONTAINER && language && *language != "und")
        tags["language"] = *language;
    return tags;
}

}  // namespace host
