// The XYZ reader over any file, under any read separator and numbering: it
// never crashes, and reading the file whole gives exactly what reading it
// line by line with ReadXyzLine gives (the block reader and its fast line
// parse are a faster way to the same store).
#include "FuzzSupport.h"

#include "formats/XyzReader.h"
#include "platform/RuntimeError.h"
#include "platform/TextFile.h"

#include <QStringList>

using namespace fuzz;

namespace {

// The first two bytes choose the regional format and the settings; the rest
// is the file.
void applySettings(Session& session, unsigned choice) {
    static const QStringList kSeparators = {QStringLiteral(","), QStringLiteral(";"),
                                            QStringLiteral(":"), QStringLiteral(" "),
                                            QStringLiteral("\t")};
    static const QStringList kOthers = {QString(), QStringLiteral("|"), QStringLiteral("ab"),
                                        QStringLiteral("é"), QStringLiteral("\u20ac")};
    static const QStringList kNumbering = {QStringLiteral("0"), QStringLiteral("1"),
                                           QStringLiteral("2"), QString()};
    static const QStringList kFirst = {QStringLiteral("1"), QStringLiteral("32766,5"),
                                       QStringLiteral("A1"), QString()};
    MemorySettings& s = session.settings;
    s.values[QStringLiteral("Paramètre/Separateur_Lec")] = kSeparators[choice % 5];
    s.values[QStringLiteral("Paramètre/Separateur_Autre_Lec")] = kOthers[(choice / 5) % 5];
    s.values[QStringLiteral("Paramètre/Inc_Num")] = kNumbering[(choice / 25) % 4];
    s.values[QStringLiteral("Paramètre/Num_Premier_Pt")] = kFirst[(choice / 100) % 4];
    session.reloadSettings();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    static ScratchFile file(".xyz");
    const unsigned choice = (data[0] | unsigned(data[1]) << 8) >> 1;
    SetRegionalFormat((data[0] & 1) == 0);
    const QString& path = file.write(data + 2, size - 2);

    Session whole;
    applySettings(whole, choice);
    ReadXyzFile(whole.state, path);

    Session byLine;
    applySettings(byLine, choice);
    platform::LineReader lines(path);
    while (!lines.atEnd())
        ReadXyzLine(byLine.state, lines.readLine());

    const GestionDonnee& a = whole.state;
    const GestionDonnee& b = byLine.state;
    FUZZ_CHECK(a.PointCount == b.PointCount,
               QStringLiteral("%1 points, %2 line by line").arg(a.PointCount).arg(b.PointCount));
    for (std::size_t i = 0; i < std::size_t(a.PointCount); ++i) {
        const PointRecord& p = a.Points[i];
        const PointRecord& q = b.Points[i];
        FUZZ_CHECK(
            p.Matricule == q.Matricule && SameDouble(p.X, q.X) && SameDouble(p.Y, q.Y) &&
                SameDouble(p.Z, q.Z),
            QStringLiteral("point %1: %2, line by line %3").arg(i).arg(Describe(p), Describe(q)));
    }
    FUZZ_CHECK(a.CurrentMatricule == b.CurrentMatricule,
               a.CurrentMatricule.toText() + QStringLiteral(" / ") + b.CurrentMatricule.toText());
    return 0;
}
