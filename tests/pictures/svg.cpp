#include "svg.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <set>

namespace pictures {
namespace {

using harness::Cell;

// All sizes are whole pixels, so that lines are sharp.
constexpr int kCellWidth = 9, kCellHeight = 18;
constexpr int kBaseline = 14;
constexpr int kMargin = 12;
constexpr int kTitleBar = 34;
constexpr int kCaptionBar = 44;

constexpr const char* kStyle = R"(<style>
text { font: 15px ui-monospace, SFMono-Regular, Menlo, "DejaVu Sans Mono", "Liberation Mono", Consolas, monospace; fill: #d5d9e0 }
.frame { fill: #14171d; stroke: #3d444f }
.bar { fill: #2a2f38 }
.name { font: 600 13px system-ui, "Segoe UI", "DejaVu Sans", sans-serif; fill: #c3c9d3; text-anchor: middle }
.size { font: 12px system-ui, "Segoe UI", "DejaVu Sans", sans-serif; fill: #8b93a1; text-anchor: end }
.bold { font-weight: 700; fill: #fff }
.f0 { fill: #14171d } .f1 { fill: #ff6b68 } .f2 { fill: #6fd36f } .f3 { fill: #f2cf4a }
.f4 { fill: #6ea1ff } .f5 { fill: #d98cf0 } .f6 { fill: #5fe0e6 } .f7 { fill: #d5d9e0 }
.g1 { fill: #a8322f } .g2 { fill: #2f7d32 } .g3 { fill: #e0b92f } .g4 { fill: #1f4fb5 }
.g5 { fill: #8a3ea3 } .g6 { fill: #1c8a92 } .g7, .cursor { fill: #d5d9e0 }
.lines { fill: none; stroke: #d5d9e0 }
.dim { opacity: .7 }
.underline { text-decoration: underline }
)";

constexpr const char* kCaptionStyle = R"(.cap { fill: #2a2f38; stroke: #5b6472 }
.key { font: 600 13px system-ui, "Segoe UI", "DejaVu Sans", sans-serif; fill: #f2cf4a; text-anchor: middle }
.caption { font: 14px system-ui, "Segoe UI", "DejaVu Sans", sans-serif; fill: #c3c9d3 }
)";

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

template <typename... Values>
std::string Format(const char* format, Values... values) {
    char text[512];
    snprintf(text, sizeof text, format, values...);
    return text;
}

// ---- cells ----

// The visible colours: reverse resolved, defaults replaced by the colours used here.
struct Look {
    int ink = harness::kWhite, ground = harness::kBlack;
    bool bold = false, dim = false, underline = false;

    bool operator==(const Look&) const = default;
    std::string Classes() const {
        std::string classes;
        const auto add = [&](const std::string& name) {
            classes += (classes.empty() ? "" : " ") + name;
        };
        if (bold) add("bold");
        if (ink != harness::kWhite) add("f" + std::to_string(ink));
        if (dim) add("dim");
        if (underline) add("underline");
        return classes;
    }
};

Look LookOf(const Cell& cell) {
    Look look;
    if (cell.fg != harness::kDefault) look.ink = cell.fg % 8;
    if (cell.bg != harness::kDefault) look.ground = cell.bg % 8;
    if (cell.reverse) std::swap(look.ink, look.ground);
    look.bold = cell.bold;
    look.dim = cell.dim;
    look.underline = cell.underline;
    return look;
}

std::string ClassAttribute(const std::string& classes) {
    return classes.empty() ? "" : " class=\"" + classes + "\"";
}

// A character drawn as lines from the middle of the cell to its edges.
struct LineDrawing {
    const char* text;
    bool left, right, up, down;
};
constexpr LineDrawing kLineDrawings[] = {
    {"─", true, true, false, false}, {"│", false, false, true, true},
    {"┌", false, true, false, true}, {"┐", true, false, false, true},
    {"└", false, true, true, false}, {"┘", true, false, true, false},
    {"├", false, true, true, true},  {"┤", true, false, true, true},
    {"┬", true, true, false, true},  {"┴", true, true, true, false},
    {"┼", true, true, true, true},
};

const LineDrawing* LineDrawingOf(const Cell& cell) {
    const auto* found =
        std::find_if(std::begin(kLineDrawings), std::end(kLineDrawings),
                     [&](const LineDrawing& drawing) { return cell.text == drawing.text; });
    return found == std::end(kLineDrawings) ? nullptr : found;
}

bool IsBlank(const Cell& cell) {
    return cell.text == " " && !cell.underline;
}

// One row, drawn in layers: backgrounds, lines, texts, the cursor.
class RowDrawing {
  public:
    RowDrawing(const Snapshot& shot, int row) : shot_(shot), row_(row) {}

    std::vector<std::string> Markup() {
        Grounds();
        Lines();
        Texts();
        Cursor();
        return std::move(markup_);
    }

  private:
    const Cell& At(int col) const { return shot_.At(row_, col); }

    void Add(const std::string& line) { markup_.push_back(line); }

    void Grounds() {
        for (int col = 0, end = 0; col < shot_.cols; col = end) {
            const int ground = LookOf(At(col)).ground;
            end = col + 1;
            while (end < shot_.cols && LookOf(At(end)).ground == ground)
                end++;
            if (ground == harness::kBlack) continue;
            Add(Format(R"(<rect class="g%d" x="%d" width="%d" height="%d"/>)", ground,
                       col * kCellWidth, (end - col) * kCellWidth, kCellHeight));
        }
    }

    // Connected lines are drawn in one stroke.
    void Lines() {
        std::string path;
        for (int col = 0, end = 0; col < shot_.cols; col = end) {
            end = col + 1;
            const LineDrawing* first = LineDrawingOf(At(col));
            if (first == nullptr) continue;
            const LineDrawing* last = first;
            while (last->right && end < shot_.cols) {
                const LineDrawing* next = LineDrawingOf(At(end));
                if (next == nullptr || !next->left) break;
                last = next;
                end++;
            }
            const std::string begin = first->left ? std::to_string(col * kCellWidth) : Middle(col);
            const std::string stop =
                last->right ? std::to_string(end * kCellWidth) : Middle(end - 1);
            if (begin != stop) path += "M" + begin + " 9.5H" + stop;
            for (int at = col; at < end; at++)
                path += Upright(at);
        }
        if (!path.empty()) Add("<path class=\"lines\" d=\"" + path + "\"/>");
    }

    static std::string Middle(int col) { return Format("%d.5", col * kCellWidth + 4); }

    std::string Upright(int col) const {
        const LineDrawing& drawing = *LineDrawingOf(At(col));
        if (!drawing.up && !drawing.down) return "";
        return "M" + Middle(col) + " " + (drawing.up ? "0" : "9.5") + "V" +
               (drawing.down ? std::to_string(kCellHeight) : "9.5");
    }

    bool IsText(int col) const {
        return col < shot_.cols && !IsBlank(At(col)) && LineDrawingOf(At(col)) == nullptr;
    }

    // The end of the text run that starts at `col`: words in the same style, separated by single
    // blanks.
    int EndOfText(int col) const {
        const Look look = LookOf(At(col));
        int end = col + 1;
        for (;;) {
            const int next = end < shot_.cols && IsBlank(At(end)) ? end + 1 : end;
            if (!IsText(next) || !(LookOf(At(next)) == look)) return end;
            end = next + 1;
        }
    }

    void Texts() {
        for (int col = 0, end = 0; col < shot_.cols; col = end) {
            end = col + 1;
            if (!IsText(col)) continue;
            end = EndOfText(col);
            AddText(col, end, LookOf(At(col)).Classes());
        }
    }

    // textLength keeps the run on its cells if the viewer's font has a different width.
    void AddText(int col, int end, const std::string& classes) {
        std::string text;
        for (int at = col; at < end; at++)
            text += At(at).text;
        const std::string length =
            end - col > 1 ? Format(R"( textLength="%d")", (end - col) * kCellWidth) : "";
        Add(Format(R"(<text x="%d" y="%d")", col * kCellWidth, kBaseline) + length +
            ClassAttribute(classes) + ">" + Escaped(text) + "</text>");
    }

    void Cursor() {
        if (row_ != shot_.cursor_row) return;
        const int col = std::min(shot_.cursor_col, shot_.cols - 1);
        Add(Format(R"(<rect class="cursor" x="%d" width="%d" height="%d"/>)", col * kCellWidth,
                   kCellWidth, kCellHeight));
        if (IsText(col)) AddText(col, col + 1, "f0");
    }

    const Snapshot& shot_;
    int row_;
    std::vector<std::string> markup_;
};

// ---- the window ----

int PictureWidth(const Snapshot& shot) {
    return shot.cols * kCellWidth + 2 * kMargin;
}

int ScreenHeight(const Snapshot& shot) {
    return shot.rows * kCellHeight;
}

std::string Begin(const Snapshot& shot, const Label& label, int bar_below,
                  const std::string& style) {
    const int width = PictureWidth(shot);
    const int height = kTitleBar + ScreenHeight(shot) + 2 * kMargin + bar_below;
    std::string svg =
        Format(R"(<svg xmlns="http://www.w3.org/2000/svg" role="img" aria-labelledby="title desc" )"
               R"(width="%d" height="%d" viewBox="0 0 %d %d">)"
               "\n",
               width, height, width, height);
    svg += "<title id=\"title\">" + Escaped(label.title) + "</title>\n";
    svg += "<desc id=\"desc\">" + Escaped(label.description) + "</desc>\n";
    svg += kStyle + style + "</style>\n";
    svg += Format(
        R"(<rect class="frame" x=".5" y=".5" width="%d" height="%d" rx="9"/>)"
        "\n"
        R"(<path class="bar" d="M1 %dV9.5a8.5 8.5 0 0 1 8.5-8.5H%d.5a8.5 8.5 0 0 1 8.5 8.5V%dz"/>)"
        "\n"
        R"(<circle cx="20" cy="17" r="6" fill="#f0625a"/><circle cx="40" cy="17" r="6" fill="#f2bd45"/>)"
        R"(<circle cx="60" cy="17" r="6" fill="#57c454"/>)"
        "\n",
        width - 1, height - 1, kTitleBar, width - 10, kTitleBar);
    svg += Format(R"(<text class="name" x="%d" y="22">)", width / 2) + Escaped(label.title) +
           "</text>\n";
    svg += Format(R"(<text class="size" x="%d" y="22">%d×%d</text>)", width - 16, shot.cols,
                  shot.rows) +
           "\n";
    return svg;
}

std::string Placed(int x, int y, const std::vector<std::string>& markup) {
    std::string svg = Format("<g transform=\"translate(%d %d)\">\n", x, y);
    for (const std::string& line : markup)
        svg += line + "\n";
    return svg + "</g>\n";
}

// ---- frames ----

// Many frames contain the same rows. Each row is drawn once and referred to by a name derived from
// its content, so a new row in one frame does not change the others.
class RowStore {
  public:
    // "" for a blank row.
    std::string NameOf(const std::vector<std::string>& markup) {
        if (markup.empty()) return "";
        std::string content;
        for (const std::string& line : markup)
            content += line + "\n";
        std::string name = Format("r%08x", Digest(content));
        if (names_.insert(name).second)
            definitions_ += "<g id=\"" + name + "\">\n" + content + "</g>\n";
        return name;
    }
    const std::string& Definitions() const { return definitions_; }

  private:
    static uint32_t Digest(const std::string& text) {
        uint32_t digest = 2166136261;  // FNV-1a
        for (const char c : text)
            digest = (digest ^ static_cast<unsigned char>(c)) * 16777619;
        return digest;
    }

    std::set<std::string> names_;
    std::string definitions_;
};

constexpr int kKeyHeight = 24;

std::vector<std::string> CaptionMarkup(const Frame& frame) {
    std::vector<std::string> markup;
    int x = 0;
    for (const std::string& key : frame.keys) {
        const int width = static_cast<int>(key.size()) * kCellWidth + 14;
        markup.push_back(
            Format(R"(<rect class="cap" x="%d.5" y=".5" width="%d" height="%d" rx="5"/>)", x, width,
                   kKeyHeight));
        markup.push_back(Format(R"(<text class="key" x="%d" y="17">)", x + width / 2) +
                         Escaped(key) + "</text>");
        x += width + 8;
    }
    if (x > 0) x += 4;
    if (!frame.caption.empty())
        markup.push_back(Format(R"(<text class="caption" x="%d" y="17">)", x) +
                         Escaped(frame.caption) + "</text>");
    return markup;
}

std::string FrameMarkup(const Frame& frame, int x, RowStore& rows) {
    std::string svg = Format("<g transform=\"translate(%d 0)\">\n", x);
    for (int row = 0; row < frame.shot.rows; row++) {
        const std::string name = rows.NameOf(RowMarkup(frame.shot, row));
        if (name.empty()) continue;
        svg += "<use href=\"#" + name + Format("\" y=\"%d\"/>\n", row * kCellHeight);
    }
    svg += Placed(0, ScreenHeight(frame.shot) + kMargin + (kCaptionBar - kKeyHeight) / 2,
                  CaptionMarkup(frame));
    return svg + "</g>\n";
}

// The frames lie side by side in a strip that jumps from one to the next.
std::string FilmStyle(const std::vector<Frame>& frames, int width) {
    double all = 0;
    for (const Frame& frame : frames)
        all += frame.seconds;
    std::string style = Format(".film { animation: film %.2fs step-end infinite }\n", all);
    style += "@keyframes film {\n";
    double passed = 0;
    int x = 0;
    for (const Frame& frame : frames) {
        style += Format("%.3f%% { transform: translateX(%dpx) }\n", passed / all * 100, x);
        passed += frame.seconds;
        x -= width;
    }
    style += "}\n";
    style += Format(
        "@media (prefers-reduced-motion: reduce) { .film { animation: none; transform: "
        "translateX(%dpx) } }\n",
        x + width);
    return style;
}

}  // namespace

std::vector<std::string> RowMarkup(const Snapshot& shot, int row) {
    return RowDrawing(shot, row).Markup();
}

std::string StillPicture(const Snapshot& shot, const Label& label) {
    std::string svg = Begin(shot, label, 0, "");
    for (int row = 0; row < shot.rows; row++) {
        const std::vector<std::string> markup = RowMarkup(shot, row);
        if (markup.empty()) continue;
        svg += Placed(kMargin, kTitleBar + kMargin + row * kCellHeight, markup);
    }
    return svg + "</svg>\n";
}

std::string MovingPicture(const std::vector<Frame>& frames, const Label& label) {
    const Snapshot& first = frames.front().shot;
    const int width = PictureWidth(first);
    RowStore rows;
    std::string film;
    int x = 0;
    for (const Frame& frame : frames) {
        film += FrameMarkup(frame, x, rows);
        x += width;
    }
    const int height = ScreenHeight(first) + kMargin + kCaptionBar;
    std::string svg = Begin(first, label, kCaptionBar, kCaptionStyle + FilmStyle(frames, width));
    svg += Format(R"(<path d="M1 %d.5H%d" stroke="#3d444f"/>)",
                  kTitleBar + kMargin + ScreenHeight(first) + kMargin, width - 1) +
           "\n";
    svg += "<defs>\n" + rows.Definitions() + "</defs>\n";
    svg += Format(R"(<svg x="%d" y="%d" width="%d" height="%d">)", kMargin, kTitleBar + kMargin,
                  first.cols * kCellWidth, height) +
           "\n<g class=\"film\">\n";
    return svg + film + "</g>\n</svg>\n</svg>\n";
}

}  // namespace pictures
