// Settings as a user may leave them in the settings file (any pattern, any
// separators and layers) with a file read, listed, its coordinate format
// rewritten and written by both writers. Each step may end with a run-time
// error, as a command does; nothing may crash. (What the list shows is the
// pattern's text, which the number target checks for any pattern.)
#include "FuzzSupport.h"

#include "editing/CoordinateFormat.h"
#include "formats/DxfReader.h"
#include "formats/DxfWriter.h"
#include "formats/XyzReader.h"
#include "formats/XyzWriter.h"
#include "platform/RuntimeError.h"
#include "state/Startup.h"

using namespace fuzz;

namespace {

// The settings taken from the input, one UTF-8 line each, in this order.
constexpr const char* kKeys[] = {"App/NbDec",
                                 "App/SepSys",
                                 "App/ExtCfg",
                                 "Paramètre/Separateur_Lec",
                                 "Paramètre/Separateur_Autre_Lec",
                                 "Paramètre/Separateur_Ecr",
                                 "Paramètre/Separateur_Autre_Ecr",
                                 "Paramètre/Calque_Point",
                                 "Paramètre/Calque_Matricule",
                                 "Paramètre/Calque_Z",
                                 "Paramètre/Fich_Dim",
                                 "Paramètre/Inc_Num",
                                 "Paramètre/Num_Premier_Pt",
                                 "Paramètre/Num_Pt_Dxf"};

// Runs one command's work: a run-time error ends it, as the program's report
// ends a command; anything else escapes and is a crash.
template <typename Work> void command(Work&& work) {
    try {
        work();
    } catch (const platform::RuntimeError&) {
    }
}

} // namespace

// The first byte: regional format, the reader (XYZ or DXF). Then one line per
// setting of kKeys and one for the DXF height reply; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    static ScratchFile input(".in");
    static ScratchFile xyz("-settings.xyz");
    static ScratchFile dxf("-settings.dxf");
    const std::uint8_t choice = data[0];
    SetRegionalFormat((choice & 1) == 0);
    const bool readDxf = (choice & 2) != 0;

    QByteArrayView rest(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    auto nextLine = [&rest] {
        const qsizetype end = rest.indexOf('\n');
        const QByteArrayView line = end < 0 ? rest : rest.first(end);
        rest = end < 0 ? QByteArrayView() : rest.sliced(end + 1);
        return QString::fromUtf8(line);
    };
    Session session;
    for (const char* key : kKeys)
        session.settings.values[QString::fromUtf8(key)] = nextLine();
    const QString height = nextLine();
    input.write(reinterpret_cast<const std::uint8_t*>(rest.data()), std::size_t(rest.size()));

    // A SepSys that is no number stops the start-up, as it does the program's.
    bool started = false;
    command([&] {
        session.reloadSettings();
        started = true;
    });
    if (!started)
        return 0;
    GestionDonnee& state = session.state;
    state.Grid.setRows(1);
    CommandContext context = session.context();
    command([&] {
        if (readDxf)
            ReadDxfFile(context, input.path());
        else
            ReadXyzFile(state, input.path());
    });
    const auto count = std::size_t(state.PointCount);
    if (count > 40000)
        return 0; // more than a small file can make; keeps each run short

    // Listed, then every row rewritten by "Format des données".
    command([&] { state.RefreshPointList(); });
    command([&] { RewritePointRows(state, session.progress); });

    command([&] { WriteXyzFile(context, xyz.path()); });
    session.boxes.answerInput(height);
    command([&] { WriteDxfFile(context, dxf.path()); });
    return 0;
}
