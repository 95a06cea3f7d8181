// The DXF reader over any file: it ends with the points it found or with a
// run-time error the command's report shows, never with a crash, and it
// keeps the store as the other readers do.
#include "FuzzSupport.h"

#include "formats/DxfReader.h"
#include "platform/RuntimeError.h"

#include <QStringList>

using namespace fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    static ScratchFile file(".dxf");
    // The first byte: the regional format and the number of the next point.
    static const QStringList kNumbers = {QStringLiteral("1"),      QString(),
                                         QStringLiteral("A"),      QStringLiteral("32767"),
                                         QStringLiteral("1E+308"), QStringLiteral("-2,5")};
    SetRegionalFormat((data[0] & 1) == 0);
    const QString& path = file.write(data + 1, size - 1);

    Session session;
    session.settings.values[QStringLiteral("Paramètre/Num_Pt_Dxf")] =
        kNumbers[(data[0] >> 1) % kNumbers.size()];
    session.reloadSettings();
    CommandContext context = session.context();
    const GestionDonnee& state = session.state;
    try {
        ReadDxfFile(context, path);
    } catch (const platform::RuntimeError&) {
        // Reported by the command that called the reader.
    }
    FUZZ_CHECK(state.PointCount >= 0 && state.Points.size() >= std::size_t(state.PointCount),
               QStringLiteral("%1 points, %2 slots")
                   .arg(state.PointCount)
                   .arg(qulonglong(state.Points.size())));
    FUZZ_CHECK(session.boxes.boxes().empty(), session.boxes.boxes().front().prompt);
    return 0;
}
