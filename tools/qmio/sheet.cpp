// qmio sheet FILE --out sheet.png: frames spread over the whole file on one picture, the number and the time code under each.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "failure.h"
#include "label.h"
#include "output.h"
#include "png.h"
#include "progress.h"
#include "source.h"
#include "text.h"
#include "verbs.h"

namespace host {

namespace {

constexpr int kThumbnailEdge = 320;  // the longer edge of every thumbnail
constexpr int kNarrowestCell = 160;  // room for a time code
constexpr int kLabels = 2;           // lines under each picture
constexpr int kMargin = 8;
constexpr Colour kBackground{24, 24, 24, 255};
constexpr Colour kText{235, 235, 235, 255};

struct SheetOptions {
    std::string file;
    Target out;
    int count = 16;
    int columns = 4;
    std::string opening;
};

struct Size {
    int width;
    int height;
};

// Pixels need not be square: the thumbnail shows the picture as it is meant to be seen.
Size thumbnail_size(const Source& source) {
    const double width = source.width() * source.pixel_aspect();
    const double scale = kThumbnailEdge / std::max(width, static_cast<double>(source.height()));
    return {std::max(1, static_cast<int>(width * scale)), std::max(1, static_cast<int>(source.height() * scale))};
}

// Where the cells lie.
struct Grid {
    Size thumbnail;
    int cells;
    int columns;

    int cell_width() const { return std::max(thumbnail.width, kNarrowestCell) + kMargin; }
    int cell_height() const { return thumbnail.height + kLabels * label_height() + 2 * kMargin; }
    int left(int cell) const { return kMargin + cell % columns * cell_width(); }
    int top(int cell) const { return title_height() + cell / columns * cell_height(); }
    static int title_height() { return label_height() + 2 * kMargin; }
    Size sheet() const {
        const int rows = (cells + columns - 1) / columns;
        return {kMargin + columns * cell_width(), title_height() + rows * cell_height()};
    }
};

Grid make_grid(const Source& source, int frames, const SheetOptions& options) {
    const int cells = std::min(frames, options.count);
    return {thumbnail_size(source), cells, std::min(options.columns, cells)};
}

// The first frame and the last are always shown; the others lie between them in equal steps.
int frame_of_cell(int cell, int cells, int frames) {
    return cells > 1 ? static_cast<int>(int64_t{cell} * (frames - 1) / (cells - 1)) : 0;
}

// Frames to spread the cells over. A file can tell of too many or of none at all: when the last frame to be shown is
// not there, looking for it has led to the last one that is.
int frames_to_spread(Source& source, const SheetOptions& options) {
    const int told = std::max(source.frame_count(), 1);
    const int cells = std::min(told, options.count);
    Picture unused(1, 1);
    if (cells == 1 || source.read_frame(told - 1, unused))
        return told;
    return std::clamp(source.last_decoded() + 1, 1, told);
}

void draw_centred(Picture& sheet, int left, int top, int width, const std::string& text) {
    draw_label(sheet, left + (width - label_width(text)) / 2, top, text, kText);
}

void draw_cell(Picture& sheet, const Grid& grid, int cell, const Picture& thumbnail, int number,
               const std::string& time_code) {
    const int width = grid.cell_width() - kMargin;
    const int left = grid.left(cell);
    const int top = grid.top(cell);
    sheet.lay_over(left + (width - thumbnail.width()) / 2, top, thumbnail);
    const int text_top = top + thumbnail.height() + kMargin;
    draw_centred(sheet, left, text_top, width, std::to_string(number));
    draw_centred(sheet, left, text_top + label_height(), width, time_code);
}

// Draws every cell whose frame the file has, in order, and gives their number.
int draw_cells(Picture& sheet, const Grid& grid, Source& source, int frames) {
    Picture thumbnail(grid.thumbnail.width, grid.thumbnail.height);
    Progress progress("sheet", grid.cells);
    int drawn = 0;
    for (int cell = 0; cell < grid.cells; ++cell) {
        const int number = frame_of_cell(cell, grid.cells, frames);
        if (source.read_frame(number, thumbnail))
            draw_cell(sheet, grid, drawn++, thumbnail, number, source.time_code(number).value_or(""));
        progress.step();
    }
    return drawn;
}

void sheet(const SheetOptions& options) {
    require_free(options.out, options.file);
    // Options that are given twice count as they were given last.
    Source source(options.file, "rotate=1," + options.opening);
    source.require_pictures();
    const int frames = frames_to_spread(source, options);
    const Grid grid = make_grid(source, frames, options);
    Picture picture(grid.sheet().width, grid.sheet().height, kBackground);
    const std::string name = utf8_of(path_of(options.file).filename());
    draw_label(picture, kMargin, kMargin, drawable(name, picture.width() - 2 * kMargin), kText);
    if (draw_cells(picture, grid, source, frames) == 0)
        throw Failure(options.file, "no picture of it can be read");
    write_png(options.out, picture);
}

}  // namespace

void add_sheet(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("sheet", "Write a contact sheet of a file as a PNG file");
    auto options = std::make_shared<SheetOptions>();
    verb->add_option("FILE", options->file, "The file to read")->required();
    verb->add_option("--out", options->out.name, "The PNG file to write")->required();
    add_force(*verb, options->out);
    verb->add_option("--count", options->count, "Number of frames")->check(CLI::Range(1, 1000))->capture_default_str();
    verb->add_option("--columns", options->columns, "Frames per row")->check(CLI::Range(1, 100))->capture_default_str();
    verb->add_option("--options", options->opening, kOpeningOptions);
    verb->callback([options] { sheet(*options); });
}

}  // namespace host
