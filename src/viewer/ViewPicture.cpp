#include "viewer/ViewPicture.h"

#include "platform/Parallel.h"

#include <QFontMetrics>
#include <QFontMetricsF>
#include <QPainter>
#include <cmath>
#include <thread>

namespace {

// The painter's blend of one byte of each channel by a / 255, rounded as it
// rounds, so that copies blend exactly as it draws.
inline quint32 byteMul(quint32 x, quint32 a) {
    quint64 t = ((quint64(x) | (quint64(x) << 24)) & 0x00ff00ff00ff00ffULL) * a;
    t = (t + ((t >> 8) & 0x00ff00ff00ff00ffULL) + 0x0080008000800080ULL) >> 8;
    t &= 0x00ff00ff00ff00ffULL;
    return quint32(t) | quint32(t >> 24);
}

inline quint32 channelMul(quint32 c, quint32 a) {
    const quint32 t = c * a;
    return (t + (t >> 8) + 0x80) >> 8;
}

// Characters tried for the copied glyphs: those of survey identifiers.
constexpr char16_t candidates[] = u"0123456789 +-.,/_";

// Floors a 1/64 pixel position to its pixel.
inline int pixelOf(int fixed) {
    return fixed >> 6;
}

} // namespace

bool CanDraw(const ViewBox& window) {
    const float width = window.right - window.left;
    const float height = window.bottom - window.top;
    return width != 0 && height != 0 && std::isfinite(width) && std::isfinite(height);
}

QFont LabelFont(int labelSize) {
    QFont font;
    font.setPointSize(std::max(labelSize, 1));
    return font;
}

QRgb PaletteColour(int code) {
    static constexpr QRgb colours[16] = {0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080,
                                         0x808000, 0xC0C0C0, 0x808080, 0x0000FF, 0x00FF00, 0x00FFFF,
                                         0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
    return 0xFF000000u | colours[code & 15];
}

SurfaceMapping::SurfaceMapping(const ViewBox& window, QSize surface, int size)
    : left(window.left), top(window.top), sx(surface.width() / double(window.right - window.left)),
      sy(surface.height() / double(window.bottom - window.top)), size(size) {}

namespace {

bool shown(const ViewPoint& entry, const DrawRequest& request) {
    return (entry.ColourCode == 1 && request.showPoints) ||
           (entry.ColourCode == 12 && request.showStations);
}

QPen dotPen(QRgb colour, int size) {
    return QPen(QColor::fromRgba(colour), size, Qt::SolidLine, Qt::RoundCap);
}

} // namespace

void DrawPlain(QImage& image, const PointView& view, const DrawRequest& request) {
    const SurfaceMapping mapping(request.window, image.size(), request.size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, request.size > 1);
    const QFont font = LabelFont(request.labelSize);
    painter.setFont(font);
    const int ascent = QFontMetrics(font).ascent();
    // Only the filled entries can be shown; the empty ones have no colour.
    const std::size_t last = std::min(std::size_t(std::max(DrawnEntryCount(view), 0)),
                                      view.firstEntry + view.points.size());
    for (std::size_t i = view.firstEntry; i < last; ++i) {
        const ViewPoint& entry = view.points[i - view.firstEntry];
        if (!shown(entry, request))
            continue;
        // The dot is centred on the pixel the point falls in.
        painter.setPen(dotPen(PaletteColour(entry.ColourCode), request.size));
        painter.drawPoint(QPointF(std::floor(mapping.dotX(entry.X)) + 0.5,
                                  std::floor(mapping.dotY(entry.Y)) + 0.5));
        painter.setPen(Qt::black);
        painter.drawText(QPointF(mapping.labelX(entry.X), mapping.labelY(entry.Y) + ascent),
                         entry.Label);
    }
}

// ---------------------------------------------------------------------------

LabelGlyphs::LabelGlyphs(const QFont& font) : font_(font) {
    const QFontMetrics metrics(font);
    const QFontMetricsF exact(font);
    ascent_ = metrics.ascent();
    height_ = metrics.height();
    const int pad = 4 + metrics.height() / 2;
    int widestFixed = 0;
    for (const char16_t c : candidates) {
        if (c == 0)
            continue;
        const int advance = qRound(exact.horizontalAdvance(QChar(c)) * 64);
        characters_[c].advance = advance;
        widestFixed = std::max(widestFixed, advance);
    }
    widest_ = (widestFixed + 63) / 64;
    // Kept only where two characters side by side take the sum of their
    // advances: no kerning or ligature among them.
    for (const char16_t a : candidates) {
        if (a == 0)
            continue;
        bool alone = true;
        for (const char16_t b : candidates) {
            if (b == 0)
                continue;
            const QString pair = QString(QChar(a)) + QChar(b);
            if (qRound(exact.horizontalAdvance(pair) * 64) !=
                characters_[a].advance + characters_[b].advance)
                alone = false;
        }
        characters_[a].covered = alone;
    }

    // Each glyph drawn on white at each 1/64 of a pixel, kept as what it
    // does to the white below it.
    const QSize canvasSize(widest_ + 2 * pad + 2, height_ + 2 * pad);
    QImage canvas(canvasSize, QImage::Format_RGB32);
    for (const char16_t c : candidates) {
        if (c == 0 || !characters_[c].covered)
            continue;
        for (int sub = 0; sub < 64; ++sub) {
            canvas.fill(Qt::white);
            {
                QPainter painter(&canvas);
                painter.setFont(font);
                painter.setPen(Qt::black);
                painter.drawText(QPointF(pad + sub / 64.0, pad + ascent_), QString(QChar(c)));
            }
            int x0 = canvas.width(), y0 = canvas.height(), x1 = -1, y1 = -1;
            for (int y = 0; y < canvas.height(); ++y) {
                const auto* line = reinterpret_cast<const quint32*>(canvas.constScanLine(y));
                for (int x = 0; x < canvas.width(); ++x) {
                    if ((line[x] & 0xFFFFFF) != 0xFFFFFF) {
                        x0 = std::min(x0, x);
                        x1 = std::max(x1, x);
                        y0 = std::min(y0, y);
                        y1 = std::max(y1, y);
                    }
                }
            }
            Glyph glyph;
            if (x1 >= 0) {
                glyph.dx = x0 - pad;
                glyph.dy = y0 - (pad + ascent_);
                glyph.width = x1 - x0 + 1;
                glyph.height = y1 - y0 + 1;
                for (int y = y0; y <= y1; ++y) {
                    const auto* line = reinterpret_cast<const quint32*>(canvas.constScanLine(y));
                    for (int x = x0; x <= x1; ++x)
                        glyph.scale.push_back(line[x] & 0xFFFFFF);
                }
            }
            bool alike = true;
            for (const quint32 v : glyph.scale)
                alike = alike && v == (v & 0xFF) * 0x010101u;
            if (alike) {
                for (const quint32 v : glyph.scale)
                    glyph.gray.push_back(quint8(v & 0xFF));
            }
            // Neighbouring positions mostly give the same glyph: kept once.
            std::size_t found = glyphs_.size();
            for (std::size_t g = 0; g < glyphs_.size(); ++g) {
                const Glyph& other = glyphs_[g];
                if (other.dx == glyph.dx && other.dy == glyph.dy && other.width == glyph.width &&
                    other.scale == glyph.scale) {
                    found = g;
                    break;
                }
            }
            if (found == glyphs_.size())
                glyphs_.push_back(std::move(glyph));
            characters_[c].glyph[std::size_t(sub)] = std::uint16_t(found);
        }
    }
}

bool LabelGlyphs::covers(QStringView label) const {
    for (const QChar c : label) {
        if (c.unicode() >= characters_.size() || !characters_[c.unicode()].covered)
            return false;
    }
    return true;
}

void LabelGlyphs::draw(uchar* bits, qsizetype stride, int width, int top, int bottom, int x, int y,
                       QStringView label) const {
    // The text's baseline sits on the row its position rounds to.
    const int baseline = pixelOf(y + 32);
    for (const QChar c : label) {
        const Character& character = characters_[c.unicode()];
        const Glyph& glyph = glyphs_[character.glyph[std::size_t(x & 63)]];
        const int left = pixelOf(x) + glyph.dx;
        const int up = baseline + glyph.dy;
        x += character.advance;
        const int fromRow = std::max(top, up);
        const int toRow = std::min(bottom, up + glyph.height);
        const int fromCol = std::max(0, left);
        const int toCol = std::min(width, left + glyph.width);
        if (!glyph.gray.empty() || glyph.scale.empty()) {
            // Grey text, the usual case: one byte a pixel.
            for (int row = fromRow; row < toRow; ++row) {
                auto* line = reinterpret_cast<quint32*>(bits + row * stride);
                const quint8* gray = glyph.gray.data() + (row - up) * glyph.width - left;
                for (int col = fromCol; col < toCol; ++col) {
                    const quint32 g = gray[col];
                    if (g != 255)
                        line[col] = g == 0 ? 0xFF000000u : byteMul(line[col], g) | 0xFF000000u;
                }
            }
            continue;
        }
        for (int row = fromRow; row < toRow; ++row) {
            auto* line = reinterpret_cast<quint32*>(bits + row * stride);
            const quint32* scale = glyph.scale.data() + (row - up) * glyph.width - left;
            for (int col = fromCol; col < toCol; ++col) {
                const quint32 s = scale[col];
                if (s == 0xFFFFFF)
                    continue;
                const quint32 gray = s & 0xFF;
                if (s == (gray * 0x010101u)) {
                    line[col] = byteMul(line[col], gray) | 0xFF000000u;
                } else {
                    const quint32 d = line[col];
                    line[col] = 0xFF000000u |
                                (channelMul((d >> 16) & 0xFF, (s >> 16) & 0xFF) << 16) |
                                (channelMul((d >> 8) & 0xFF, (s >> 8) & 0xFF) << 8) |
                                channelMul(d & 0xFF, s & 0xFF);
                }
            }
        }
    }
}

// ---------------------------------------------------------------------------

DotSprite::DotSprite(QRgb colour, int size) : reach_(size / 2 + 2) {
    const int side = 2 * reach_ + 1;
    QImage canvas(side, side, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    {
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing, size > 1);
        painter.setPen(dotPen(colour, size));
        painter.drawPoint(QPointF(reach_ + 0.5, reach_ + 0.5));
    }
    // Kept to the pixels the dot touches: the rest would only be skipped.
    int x0 = side, y0 = side, x1 = -1, y1 = -1;
    for (int y = 0; y < side; ++y) {
        const auto* line = reinterpret_cast<const quint32*>(canvas.constScanLine(y));
        for (int x = 0; x < side; ++x) {
            if (line[x] != 0) {
                x0 = std::min(x0, x);
                x1 = std::max(x1, x);
                y0 = std::min(y0, y);
                y1 = std::max(y1, y);
            }
        }
    }
    if (x1 < 0)
        return;
    dx_ = x0 - reach_;
    dy_ = y0 - reach_;
    width_ = x1 - x0 + 1;
    height_ = y1 - y0 + 1;
    for (int y = y0; y <= y1; ++y) {
        const auto* line = reinterpret_cast<const quint32*>(canvas.constScanLine(y));
        pixels_.insert(pixels_.end(), line + x0, line + x1 + 1);
    }
}

void DotSprite::draw(uchar* bits, qsizetype stride, int width, int top, int bottom, int px,
                     int py) const {
    const int left = px + dx_;
    const int up = py + dy_;
    const int fromRow = std::max(top, up);
    const int toRow = std::min(bottom, up + height_);
    const int fromCol = std::max(0, left);
    const int toCol = std::min(width, left + width_);
    for (int row = fromRow; row < toRow; ++row) {
        auto* line = reinterpret_cast<quint32*>(bits + row * stride);
        const quint32* source = pixels_.data() + (row - up) * width_ - left;
        for (int col = fromCol; col < toCol; ++col) {
            const quint32 s = source[col];
            const quint32 alpha = s >> 24;
            if (alpha == 0)
                continue;
            // Source over: the premultiplied colour plus what shows through.
            line[col] = alpha == 255 ? s : (s + byteMul(line[col], 255 - alpha)) | 0xFF000000u;
        }
    }
}

// ---------------------------------------------------------------------------

ViewPicture::ViewPicture(const PointView& view, const DrawRequest& request, QImage& image,
                         const LabelGlyphs& glyphs)
    : view_(view), request_(request), glyphs_(glyphs),
      mapping_(request.window, image.size(), request.size),
      last_(std::size_t(std::max(DrawnEntryCount(view), 0))) {
    bits_ = image.bits(); // here, once: detaching while parts draw would race
    stride_ = image.bytesPerLine();
    width_ = image.width();
    height_ = image.height();
    for (int code : {1, 12})
        sprites_[code] = std::make_unique<DotSprite>(PaletteColour(code), request.size);
}

ViewPicture::~ViewPicture() = default;

void ViewPicture::drawEntries(std::size_t begin, std::size_t end, int top, int bottom) const {
    const int reach = sprites_[1]->reach();
    const int ascent = glyphs_.ascent();
    // Rows a label may touch around its baseline, and how far left of the
    // surface one may start and still show.
    const int above = ascent + 4;
    const int below = glyphs_.height() - ascent + 4;
    std::unique_ptr<QImage> band;
    std::unique_ptr<QPainter> painter;
    // Only the filled entries can be shown; the empty ones have no colour.
    const std::size_t first = view_.firstEntry;
    const std::size_t stop = std::min({end, last_, first + view_.points.size()});
    for (std::size_t i = std::max(begin, first); i < stop; ++i) {
        const ViewPoint& entry = view_.points[i - first];
        if (!shown(entry, request_))
            continue;
        const double dx = mapping_.dotX(entry.X);
        const double dy = mapping_.dotY(entry.Y);
        if (dx > -reach - 1 && dx < width_ + reach && dy > top - reach - 1 && dy < bottom + reach)
            sprites_[entry.ColourCode & 15]->draw(bits_, stride_, width_, top, bottom,
                                                  int(std::floor(dx)), int(std::floor(dy)));
        const double lx = mapping_.labelX(entry.X);
        const double baseline = mapping_.labelY(entry.Y) + ascent;
        const double reachLeft = double(entry.Label.size()) * glyphs_.widest() + 4;
        if (!(baseline > top - below && baseline < bottom + above && lx > -reachLeft &&
              lx < width_ + 4))
            continue;
        if (glyphs_.covers(entry.Label)) {
            // The painter takes a text's position to 1/64 pixel, dropping
            // the rest towards zero; so do the copies.
            glyphs_.draw(bits_, stride_, width_, top, bottom, int(lx * 64), int(baseline * 64),
                         entry.Label);
            continue;
        }
        // Any other label the plain way, kept to these rows.
        if (!painter) {
            band = std::make_unique<QImage>(bits_, width_, height_, stride_, QImage::Format_RGB32);
            painter = std::make_unique<QPainter>(band.get());
            painter->setClipRect(QRect(0, top, width_, bottom - top));
            painter->setFont(glyphs_.font());
            painter->setPen(Qt::black);
        }
        painter->drawText(QPointF(lx, baseline), entry.Label);
    }
}

void ViewPicture::drawEntries(std::size_t begin, std::size_t end) const {
    // Bands of rows taken in turn by the cores, more bands than cores so
    // that points bunched in one part of the surface still share the work.
    const std::size_t cores = std::max(1u, std::thread::hardware_concurrency());
    const std::size_t bands = std::min<std::size_t>(std::size_t(height_), cores * 2);
    if (bands <= 1 || end - begin < 4096) {
        drawEntries(begin, end, 0, height_);
        return;
    }
    const std::size_t rows = (std::size_t(height_) + bands - 1) / bands;
    platform::ForEachChunk(std::size_t(height_), rows, cores,
                           [&](std::size_t, std::size_t top, std::size_t bottom) {
                               drawEntries(begin, end, int(top), int(bottom));
                           });
}
