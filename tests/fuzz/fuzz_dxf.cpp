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

// The points read, then the error (0 for none) and the number the next point
// would get.
QStringList read(const QString& path, const QString& numbering, qsizetype bufferBytes) {
    Session session;
    session.settings.values[QStringLiteral("Paramètre/Num_Pt_Dxf")] = numbering;
    session.reloadSettings();
    CommandContext context = session.context();
    int error = 0;
    try {
        ReadDxfFile(context, path, bufferBytes);
    } catch (const platform::RuntimeError& raised) {
        // Reported by the command that called the reader.
        error = raised.number();
    }
    const GestionDonnee& state = session.state;
    QStringList outcome;
    for (std::size_t i = 0; i < std::size_t(state.PointCount); ++i)
        outcome << Describe(state.Points[i]);
    return outcome << QStringLiteral("error %1, next %2")
                          .arg(error)
                          .arg(state.Settings.Num_Pt_Dxf.toText());
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

    const QStringList usual = read(path, numbering, 0);
    const QStringList streamed = read(path, numbering, small);
    FUZZ_CHECK(usual == streamed, QStringLiteral("buffer of %1 bytes: %2; usual: %3")
                                      .arg(small)
                                      .arg(streamed.last(), usual.last()));
    return 0;
}
