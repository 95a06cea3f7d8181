// A file read, written as XYZ and as DXF, and read back: what the XYZ file
// can carry must come back. Identifiers, as far as the separator and the
// line ends let them through, and coordinates within the precision written
// (15 digits unformatted, the pattern's decimals formatted); Z is 0.000 in
// 2D.
#include "FuzzSupport.h"

#include "formats/DxfReader.h"
#include "formats/DxfWriter.h"
#include "formats/XyzReader.h"
#include "formats/XyzWriter.h"
#include "platform/RuntimeError.h"

#include <QStringList>
#include <cmath>

using namespace fuzz;

namespace {

struct Plan {
    bool french;
    bool threeD;
    bool unformatted;
    QString nbDec;
};

void configure(Session& session, const Plan& plan, const QString& readSeparator) {
    MemorySettings& s = session.settings;
    s.values[QStringLiteral("Paramètre/Separateur_Lec")] = readSeparator;
    s.values[QStringLiteral("Paramètre/Separateur_Ecr")] = QStringLiteral(";");
    s.values[QStringLiteral("Paramètre/Inc_Num")] = QStringLiteral("0");
    s.values[QStringLiteral("Paramètre/Fich_Dim")] =
        plan.threeD ? QStringLiteral("3D") : QStringLiteral("2D");
    s.values[QStringLiteral("App/ExtCfg")] =
        plan.unformatted ? QStringLiteral("1") : QStringLiteral("0");
    s.values[QStringLiteral("App/NbDec")] = plan.nbDec;
    session.reloadSettings();
}

// An identifier the XYZ file gives back as it was: no separator, no line
// end, no blank at either end (the reader trims them).
bool carriedByXyz(const QString& name) {
    return !name.contains(u';') && !name.contains(u'\r') && name.trimmed() == name &&
           !name.startsWith(u'\t') && !name.endsWith(u'\t');
}

// A coordinate that comes back: not so large that its text overflows.
bool carried(double value) {
    return std::isfinite(value) && std::fabs(value) < 1e300;
}

// The coordinates read back within step of those written, but for values
// too large for their text to come back; in 2D, Z reads back as 0.
void checkClose(const PointRecord& written, const PointRecord& read, double step, bool threeD) {
    const QString detail = Describe(written) + QStringLiteral(" / ") + Describe(read);
    const double pairs[3][2] = {{written.X, read.X}, {written.Y, read.Y}, {written.Z, read.Z}};
    for (int i = 0; i < (threeD ? 3 : 2); ++i) {
        const double before = pairs[i][0];
        FUZZ_CHECK(!carried(before) || std::fabs(pairs[i][1] - before) <=
                                           step * (1 + 1e-9) + std::fabs(before) * 1e-14,
                   detail);
    }
    FUZZ_CHECK(threeD || read.Z == 0, detail);
}

} // namespace

// The first byte: regional format, 2D or 3D, ExtCfg, the pattern and the
// separator the input is read with; the rest is the XYZ file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    static const QStringList kPatterns = {QStringLiteral("0.000"), QStringLiteral("0"),
                                          QStringLiteral("0.000000"), QStringLiteral("#.##")};
    static const QStringList kSeparators = {QStringLiteral(","), QStringLiteral(";"),
                                            QStringLiteral(" "), QStringLiteral("\t")};
    static ScratchFile input(".xyz");
    static ScratchFile xyz("-out.xyz");
    static ScratchFile dxf("-out.dxf");
    const std::uint8_t choice = data[0];
    const Plan plan{(choice & 1) == 0, (choice & 2) != 0, (choice & 4) != 0,
                    kPatterns[(choice >> 3) & 3]};
    SetRegionalFormat(plan.french);
    input.write(data + 1, size - 1);

    Session first;
    configure(first, plan, kSeparators[(choice >> 5) & 3]);
    ReadXyzFile(first.state, input.path());
    const std::size_t count = std::size_t(first.state.PointCount);
    if (count == 0 || count > 32768)
        return 0;
    bool namesCarried = true;
    for (std::size_t i = 0; i < count; ++i)
        namesCarried = namesCarried && carriedByXyz(first.state.Points[i].Matricule);

    CommandContext context = first.context();
    WriteXyzFile(context, xyz.path());
    FUZZ_CHECK(first.boxes.boxes().empty(), first.boxes.boxes().front().prompt);

    // Formatted, a value is rounded to the pattern's decimals; unformatted,
    // the file keeps 15 digits.
    const qsizetype point = plan.nbDec.indexOf(u'.');
    const qsizetype decimals = point < 0 ? 0 : plan.nbDec.size() - point - 1;
    const double step = plan.unformatted ? 0 : 0.5 * std::pow(10.0, -double(decimals));
    Session second;
    configure(second, plan, QStringLiteral(";"));
    ReadXyzFile(second.state, xyz.path());
    if (namesCarried) {
        FUZZ_CHECK(std::size_t(second.state.PointCount) == count,
                   QStringLiteral("%1 points written, %2 read back")
                       .arg(count)
                       .arg(second.state.PointCount));
        // Under "," a formatted or unformatted value keeps its decimals: the
        // reader turns the first comma back into a point.
        for (std::size_t i = 0; i < count; ++i) {
            const PointRecord& p = first.state.Points[i];
            FUZZ_CHECK(second.state.Points[i].Matricule == p.Matricule, Describe(p));
            checkClose(p, second.state.Points[i], step, plan.threeD);
        }
    }

    // Written as DXF and read back, which ends at worst with a run-time error
    // the open command reports; what comes back is the DXF reader's table's
    // file the writer wrote.
    first.boxes.answerInput(QStringLiteral("1"));
    WriteDxfFile(context, dxf.path());
    Session third;
    configure(third, plan, QStringLiteral(";"));
    CommandContext readBack = third.context();
    try {
        ReadDxfFile(readBack, dxf.path());
    } catch (const platform::RuntimeError&) {
    }
    return 0;
}
