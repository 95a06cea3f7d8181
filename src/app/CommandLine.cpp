#include "app/CommandLine.h"

#include "platform/Version.h"

#include <cstring>

namespace {

const char* const helpText =
    "Tovalin : éditeur et convertisseur de fichiers de points topographiques.\n"
    "\n"
    "  tovalin [FICHIER]...   ouvre la fenêtre et ajoute à la liste chaque FICHIER,\n"
    "                         lu en DXF si son nom finit par .dxf, en XYZ sinon\n"
    "  tovalin [FICHIER]... --import RELEVE...\n"
    "                         puis montre chaque RELEVE (CSV, texte en colonnes)\n"
    "                         dans la fenêtre d'importation, l'un après l'autre\n"
    "  tovalin --help         cette aide\n"
    "  tovalin --version      la version de Tovalin\n"
    "  --                     la fin des options : un nom qui suit est un fichier,\n"
    "                         même s'il commence par « - »\n"
    "\n"
    "Les réglages sont dans ~/.config/Tovalin/Tovalin.ini. Pour convertir sans\n"
    "fenêtre : tovalin-cli --help.\n";

} // namespace

std::optional<int> AnswerWithoutWindow(int argc, const char* const* argv, std::FILE* out) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--") == 0)
            break;
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

ProgramFiles ParseProgramArguments(const QStringList& arguments) {
    ProgramFiles files;
    bool options = true;
    bool toImport = false;
    for (const QString& argument : arguments) {
        if (options && argument == QLatin1String("--")) {
            options = false;
        } else if (options && argument == QLatin1String("--import")) {
            toImport = true;
        } else if (options && argument.size() > 1 && argument.startsWith(u'-')) {
            // "-" alone stays a file name, as it was.
            files.error = QStringLiteral("tovalin : option inconnue « %1 »\n"
                                         "Pour un fichier dont le nom commence par « - » : "
                                         "tovalin -- %1\n"
                                         "Aide : tovalin --help\n")
                              .arg(argument);
            return files;
        } else {
            (toImport ? files.import : files.open) << argument;
        }
    }
    return files;
}
