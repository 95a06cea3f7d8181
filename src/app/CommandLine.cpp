#include "app/CommandLine.h"

#include "platform/Version.h"

#include <cstring>

namespace {

const char* const helpText =
    "Tovalin : éditeur et convertisseur de fichiers de points topographiques.\n"
    "\n"
    "  tovalin [FICHIER]...   ouvre la fenêtre et ajoute à la liste chaque FICHIER,\n"
    "                         lu en DXF si son nom finit par .dxf, en XYZ sinon\n"
    "  tovalin --help         cette aide\n"
    "  tovalin --version      la version de Tovalin\n"
    "\n"
    "Les réglages sont dans ~/.config/Tovalin/Tovalin.ini. Pour convertir sans\n"
    "fenêtre : tovalin-cli --help.\n";

} // namespace

std::optional<int> AnswerWithoutWindow(int argc, const char* const* argv, std::FILE* out) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(helpText, out);
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            const platform::ProgramVersion version = platform::programVersion();
            std::fprintf(out, "Tovalin %d.%d.%d\n", version.major, version.minor, version.revision);
            return 0;
        }
    }
    return std::nullopt;
}
