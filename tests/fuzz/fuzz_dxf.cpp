// The DXF reader over any file: it ends with the points it found or with a
// run-time error the command's report shows, never with a crash. The file
// streams through a bounded buffer: read through a buffer of a few bytes, it
// gives exactly what the usual buffer gives, error included.
#include "FuzzSupport.h"

#include "formats/DxfReader.h"
#include "platform/RuntimeError.h"

#include <QStringList>

using namespace fuzz;

namespace {

struct Outcome {
    QStringList points;
    int error = 0;
    QString next; // the number the next point would get
};

Outcome read(const QString& path, const QString& numbering, qsizetype bufferBytes) {
    Session session;
    session.settings.values[QStringLiteral("Paramètre/Num_Pt_Dxf")] = numbering;
    session.reloadSettings();
    CommandContext context = session.context();
    Outcome outcome;
    try {
        ReadDxfFile(context, path, bufferBytes);
    } catch (const platform::RuntimeError& error) {
        // Reported by the command that called the reader.
        outcome.error = error.number();
    }
    const GestionDonnee& state = session.state;
    FUZZ_CHECK(state.PointCount >= 0 && state.Points.size() >= std::size_t(state.PointCount),
               QStringLiteral("%1 points, %2 slots")
                   .arg(state.PointCount)
                   .arg(qulonglong(state.Points.size())));
    FUZZ_CHECK(session.boxes.boxes().empty(), session.boxes.boxes().front().prompt);
    for (std::size_t i = 0; i < std::size_t(state.PointCount); ++i) {
        const PointRecord& p = state.Points[i];
        outcome.points << QStringLiteral("%1|%2|%3|%4")
                              .arg(p.Matricule, platform::DefaultText(p.X),
                                   platform::DefaultText(p.Y), platform::DefaultText(p.Z));
    }
    outcome.next = state.Settings.Num_Pt_Dxf.toText();
    return outcome;
}

} // namespace

// The first byte: the regional format and the number of the next point; the
// second: the small buffer's size; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    static ScratchFile file(".dxf");
    static const QStringList kNumbers = {QStringLiteral("1"),      QString(),
                                         QStringLiteral("A"),      QStringLiteral("32767"),
                                         QStringLiteral("1E+308"), QStringLiteral("-2,5")};
    SetRegionalFormat((data[0] & 1) == 0);
    const QString numbering = kNumbers[(data[0] >> 1) % kNumbers.size()];
    const qsizetype small = 1 + data[1] % 64;
    const QString& path = file.write(data + 2, size - 2);

    const Outcome usual = read(path, numbering, 0);
    const Outcome streamed = read(path, numbering, small);
    const QString detail = QStringLiteral("buffer of %1 bytes: error %2, %3 points, next %4; "
                                          "usual: error %5, %6 points, next %7")
                               .arg(small)
                               .arg(streamed.error)
                               .arg(streamed.points.size())
                               .arg(streamed.next)
                               .arg(usual.error)
                               .arg(usual.points.size())
                               .arg(usual.next);
    FUZZ_CHECK(usual.error == streamed.error && usual.next == streamed.next, detail);
    FUZZ_CHECK(usual.points == streamed.points, detail);
    return 0;
}
