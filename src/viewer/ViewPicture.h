#pragma once

#include "viewer/PointView.h"

#include <QFont>
#include <QImage>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

// What one drawing pass draws: the window shown, the pen width, the label
// size and the two display filters.
struct DrawRequest {
    ViewBox window;
    int size = 2;
    int labelSize = 6;
    bool showPoints = true;
    bool showStations = true;

    bool operator==(const DrawRequest&) const = default;
};

// The window can be the surface's coordinate system: neither zero wide nor
// zero high (nor beyond the float range).
bool CanDraw(const ViewBox& window);

// The label font at a size in points: the surface's font.
QFont LabelFont(int labelSize);

// The 16-colour console palette.
QRgb PaletteColour(int code);

// Where an entry goes on a surface of a given size: the pixel its dot is
// centred on, and the top-left corner of its label, in pixels. The size is
// added to the label's position in world units; only the vertical position
// is floored before it.
struct SurfaceMapping {
    SurfaceMapping(const ViewBox& window, QSize surface, int size);
    double dotX(float x) const { return (double(x) - left) * sx; }
    double dotY(float y) const { return (-double(y) - top) * sy; }
    double labelX(float x) const { return (double(x) + size - left) * sx; }
    double labelY(float y) const { return (std::floor(-double(y)) + size - top) * sy; }

    double left, top, sx, sy;
    int size;
};

// The plain way of drawing: one drawPoint and one drawText per entry. The
// fast way below must give the same picture; the benchmark compares both.
void DrawPlain(QImage& image, const PointView& view, const DrawRequest& request);

// The label glyphs of one font, each laid out once at each of the 64
// positions between two pixels that text can take, so that a label is put
// together by copying them. Characters are taken when they run without
// kerning among themselves; labels with any other go the plain way.
class LabelGlyphs {
public:
    explicit LabelGlyphs(const QFont& font);

    const QFont& font() const { return font_; }
    int ascent() const { return ascent_; }
    int height() const { return height_; }
    // Widest advance of a character, in pixels (rounded up).
    int widest() const { return widest_; }
    bool covers(QStringView label) const;
    // Writes the label with its baseline origin at (x, y) in 1/64 pixels
    // into the rows [top, bottom) of a 32-bit picture width pixels wide.
    void draw(uchar* bits, qsizetype stride, int width, int top, int bottom, int x, int y,
              QStringView label) const;

private:
    struct Glyph {
        int dx = 0; // from the pixel of the origin
        int dy = 0;
        int width = 0;
        int height = 0;
        std::vector<quint32> scale; // per channel, 255 leaves the pixel as it is
        // The same as one byte for all channels, when they are alike.
        std::vector<quint8> gray;
    };
    struct Character {
        bool covered = false;
        int advance = 0;                       // 1/64 pixels
        std::array<std::uint16_t, 64> glyph{}; // per 1/64 pixel, into glyphs_
    };

    QFont font_;
    int ascent_ = 0;
    int height_ = 0;
    int widest_ = 0;
    std::array<Character, 128> characters_;
    std::vector<Glyph> glyphs_;
};

// A dot of one colour and pen width, drawn once and copied: premultiplied
// colour over what lies below, as the painter blends.
class DotSprite {
public:
    DotSprite(QRgb colour, int size);
    // Centred on the pixel (px, py), into the rows [top, bottom).
    void draw(uchar* bits, qsizetype stride, int width, int top, int bottom, int px, int py) const;
    int reach() const { return reach_; }

private:
    int reach_ = 0; // pixels on each side of the centre pixel
    int dx_ = 0;    // the pixels touched, from the centre pixel
    int dy_ = 0;
    int width_ = 0;
    int height_ = 0;
    std::vector<quint32> pixels_;
};

// One picture drawn the fast way, in parts: each part of the entries in
// turn, each on bands of rows side by side on the cores.
class ViewPicture {
public:
    ViewPicture(const PointView& view, const DrawRequest& request, QImage& image,
                const LabelGlyphs& glyphs);
    ~ViewPicture();

    // The entries the pass visits: 0 to count - 1.
    std::size_t entries() const { return last_; }
    // Draws the entries [begin, end) onto the rows [top, bottom).
    void drawEntries(std::size_t begin, std::size_t end, int top, int bottom) const;
    // The same on bands of rows, one per core.
    void drawEntries(std::size_t begin, std::size_t end) const;

private:
    const PointView& view_;
    DrawRequest request_;
    uchar* bits_ = nullptr;
    qsizetype stride_ = 0;
    int width_ = 0;
    int height_ = 0;
    const LabelGlyphs& glyphs_;
    SurfaceMapping mapping_;
    std::size_t last_ = 0;
    std::unique_ptr<DotSprite> sprites_[16];
};
