#include "formats/DxfWriter.h"

#include "app/CommandContext.h"
#include "app/GestionDonnee.h"
#include "formats/XyzReader.h"
#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/TextFile.h"
#include "platform/TextUtil.h"

using namespace platform;

namespace {

const QString kCaption = QStringLiteral("Enregistrement DXF : ");
const QString kPointCaption = QStringLiteral("Enregistrement DXF : Point ");
const QString kThreeDecimals = QStringLiteral("0.000");

// The texts of one point as the file carries them.
struct PointTexts {
    QString sX, sY, sZ; // the coordinates, three decimals, "." as decimal point
    QString tX, tY2;    // the anchors of the texts
};

// Coordinate text for the file: rounded first by the display pattern, then
// written with three decimals and "." whatever the regional format.
QString fileCoordinate(const QString& displayed) {
    QString text = Format(displayed, kThreeDecimals);
    text = CommaToPoint(TrimSpaces(text));
    // A second pass has always been made; it finds no comma left to change.
    return CommaToPoint(TrimSpaces(text));
}

// The anchors are read with Val, which knows only "." as decimal point: under
// a comma regional format the fraction is lost and the texts are placed from
// the whole unit. Files have always been written so; kept on purpose.
double anchorOf(const QString& displayed) {
    return CDbl(Format(Val(displayed), kThreeDecimals));
}

PointTexts pointTexts(const PointRecord& point, const QString& nbDec, double height) {
    const QString x = Format(point.X, nbDec);
    const QString y = Format(point.Y, nbDec);
    const QString z = Format(point.Z, nbDec);
    const double aX = anchorOf(x);
    const double aY = anchorOf(y);

    PointTexts texts;
    texts.sX = fileCoordinate(x);
    texts.sY = fileCoordinate(y);
    texts.sZ = fileCoordinate(z);

    texts.tX = Format(aX + 0.75 * height, kThreeDecimals);
    texts.tY2 = Format(aY - (height + 0.75 * height), kThreeDecimals);
    // The second anchor is converted only when the first had a comma.
    if (texts.tX.contains(u',')) {
        texts.tX = CommaToPoint(texts.tX);
        texts.tY2 = CommaToPoint(texts.tY2);
    }
    return texts;
}

class DxfLines {
public:
    explicit DxfLines(const QString& path) : file_(path) {}

    void line(QStringView text) { file_.writeLine(text); }
    void group(QStringView code, QStringView value) {
        file_.writeLine(code);
        file_.writeLine(value);
    }
    // Entity handles are plain decimal numbers from 800 on, one per entity.
    void entityStart(QStringView type, QStringView layer) {
        group(u"0", type);
        group(u"5", DefaultText(handle_));
        handle_ += 1;
        group(u"8", layer);
    }
    void close() { file_.close(); }

private:
    LineWriter file_;
    double handle_ = 800;
};

} // namespace

void WriteDxfFile(CommandContext& context, const QString& path) {
    const GestionDonnee& state = context.state;
    const InMemorySettings& settings = state.Settings;

    const QString reply =
        context.input.ask(QStringLiteral("Entrez la taille de la police\rExemple : 1"),
                          QStringLiteral("Taille de la police"), QStringLiteral("1"));
    // The height is read in the regional format after "." was made ",": the
    // program was made for comma-decimal systems. A reply that is no number
    // (Cancel gives "") is a type mismatch that nothing here traps.
    const double height = CDbl(PointToComma(reply));
    if (height == 0)
        return;

    context.window.setWaitCursor(true);
    // Errors from here on are not trapped either: the hourglass is still up
    // when they are reported.
    try {
        DxfLines dxf(path);
        dxf.group(u"0", u"SECTION");
        dxf.group(u"2", u"ENTITIES");
        context.window.setCountLabel(kCaption);

        // Both flavours (Dxf_Format) get the same file; the layers are the
        // in-memory settings, possibly empty.
        const QString pointLayer = settings.Calque_Point.toText();
        const QString nameLayer = settings.Calque_Matricule.toText();
        const QString heightLayer =
            settings.Calque_Z.toText().isEmpty() ? QStringLiteral("2") : settings.Calque_Z.toText();
        const bool flat = TrimSpaces(settings.Fich_Dim.toText()) == u"2D";
        // The flat elevation is the number 0 printed, blanks included.
        const QString flatElevation = NumericPrint(0);
        const QString total = DefaultText(state.PointCount);

        for (double i = 0; i <= state.PointCount - 1; i += 1) {
            const PointRecord& point = state.Points[static_cast<std::size_t>(i)];
            PointTexts texts = pointTexts(point, settings.NbDec, height);
            if (flat)
                texts.sZ = flatElevation;

            dxf.entityStart(u"POINT", pointLayer);
            dxf.group(u"62", u"7");
            dxf.group(u"10", texts.sX);
            dxf.group(u"20", texts.sY);
            dxf.group(u"30", texts.sZ);

            dxf.entityStart(u"TEXT", nameLayer);
            dxf.group(u"62", u"5");
            dxf.group(u"10", texts.tX);
            dxf.group(u"20", texts.sY);
            dxf.group(u"40", reply); // as typed, "1,5" included
            dxf.group(u"1", point.Matricule);

            dxf.entityStart(u"TEXT", heightLayer);
            dxf.group(u"62", u"1");
            dxf.group(u"40", reply);
            dxf.group(u"41", u"0.75");
            dxf.group(u"51", u"10");
            dxf.group(u"1", texts.sZ);
            dxf.group(u"10", texts.tX);
            dxf.group(u"20", texts.tY2);

            context.progress.setCaption(kPointCaption + DefaultText(i + 1) + u'/' + total);
        }

        dxf.group(u"0", u"ENDSEC");
        dxf.group(u"0", u"EOF");
        // The end-of-file mark of old text files, on a line of its own.
        dxf.line(QStringView(u"\x1A"));
        dxf.close();
    } catch (...) {
        // Show the last progress caption while the error is reported.
        context.progress.flush();
        throw;
    }

    context.window.setWaitCursor(false);
    context.window.setCountLabel(GestionDonnee::PointCountLabel(state.PointCount));
}
