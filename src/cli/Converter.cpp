#include "cli/Converter.h"

#include "app/FileCommands.h"
#include "formats/DxfWriter.h"
#include "formats/XyzWriter.h"
#include "import/Importer.h"
#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/PointGridModel.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/SettingsStore.h"
#include "platform/Version.h"
#include "state/CommandContext.h"
#include "state/GestionDonnee.h"
#include "state/Startup.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <sys/stat.h>

using namespace platform;

namespace {

const char* const usageLine =
    "usage : tovalin-cli list|convert [--from xyz|dxf] [--to xyz|dxf] [--set CLE=VALEUR]... "
    "[--height TEXTE] ENTREE... [-o SORTIE]\n"
    "        tovalin-cli list|convert --from csv [--columns ROLES] [--skip N] [--separator C] "
    "[--decimal ,|.] ... | --from dxf-points ...\n"
    "        tovalin-cli --help | --version\n";

const char* const helpText =
    "tovalin-cli: lit et convertit des fichiers de points avec les lecteurs et\n"
    "les écrivains de Tovalin et les réglages de l'utilisateur.\n"
    "\n"
    "  tovalin-cli list [--from xyz|dxf] [--set CLE=VALEUR]... ENTREE...\n"
    "      Lit chaque ENTREE dans l'ordre, comme la commande Ouvrir quand on\n"
    "      ajoute le fichier, puis écrit la liste des points comme la fenêtre\n"
    "      principale la montre : Matricule, X, Y, Z séparés par une tabulation,\n"
    "      une ligne par point (UTF-8).\n"
    "\n"
    "  tovalin-cli convert [--from xyz|dxf] [--to xyz|dxf] [--set CLE=VALEUR]...\n"
    "                      [--height TEXTE] ENTREE... -o SORTIE\n"
    "      Lit de même puis écrit SORTIE en XYZ ou en DXF.\n"
    "\n"
    "  --from, --to   format ; sinon DXF pour un nom finissant par .dxf, sinon XYZ\n"
    "  --from csv     lit les fichiers de points d'autres programmes (texte délimité\n"
    "                 ou aligné) : encodage, fins de ligne, séparateur, virgule ou\n"
    "                 point décimal, lignes d'en-tête et rôle des colonnes sont\n"
    "                 trouvés dans le fichier ; les lignes sans point sont\n"
    "                 signalées avec leur numéro. Options pour ce qu'il ne dit pas :\n"
    "    --columns ROLES  le rôle de chaque colonne dans l'ordre, parmi id x y z et -\n"
    "                 (colonne laissée de côté), ex. --columns id,y,x,z,-\n"
    "    --skip N     saute les N premières lignes\n"
    "    --separator C  , ; | tab (ou \\t) ou espace (suites de blancs)\n"
    "    --decimal D  , ou .\n"
    "  --from dxf-points\n"
    "                 lit seulement les entités POINT de la section ENTITIES d'un\n"
    "                 dessin DXF quelconque, numérotées comme le lecteur DXF\n"
    "  --set CLE=VALEUR\n"
    "                 remplace un réglage pour cette exécution seulement\n"
    "                 (VALEUR peut être vide ; \\t vaut une tabulation).\n"
    "                 Clés : Separateur_Lec Separateur_Ecr Separateur_Autre_Lec\n"
    "                 Separateur_Autre_Ecr Calque_Point Calque_Matricule Calque_Z\n"
    "                 Num_Premier_Pt Inc_Num Num_Pt_Dxf Dxf_Format Fich_Dim NomImp\n"
    "                 NbDec SepSys ExtCfg\n"
    "  --height TEXTE réponse à la question de la hauteur du texte du DXF (\"1\")\n"
    "  --help         cette aide\n"
    "  --version      la version de Tovalin\n"
    "\n"
    "Les réglages sont lus dans le fichier de réglages de Tovalin, jamais écrits.\n"
    "Statut de sortie : 0 réussi, 1 erreur (message sur la sortie d'erreur),\n"
    "2 mauvais usage.\n";

// The section of each setting that --set may override.
std::optional<QString> sectionOf(const QString& key) {
    static const std::map<QString, QString> sections = [] {
        std::map<QString, QString> map;
        for (const char* key :
             {"Separateur_Lec", "Separateur_Ecr", "Separateur_Autre_Lec", "Separateur_Autre_Ecr",
              "Calque_Point", "Calque_Matricule", "Calque_Z", "Num_Premier_Pt", "Inc_Num",
              "Num_Pt_Dxf", "Dxf_Format", "Fich_Dim", "NomImp"})
            map[QString::fromLatin1(key)] = sections::parametre();
        for (const char* key : {"NbDec", "SepSys", "ExtCfg"})
            map[QString::fromLatin1(key)] = sections::app();
        return map;
    }();
    const auto found = sections.find(key);
    if (found == sections.end())
        return std::nullopt;
    return found->second;
}

// The user's settings with this run's overrides on top; nothing is written.
class OverlaySettings : public SettingsStore {
public:
    explicit OverlaySettings(const SettingsStore& base) : base_(base) {}
    void set(const QString& section, const QString& key, const QString& value) {
        overrides_[section + u'/' + key] = value;
    }
    QString value(const QString& section, const QString& key,
                  const QString& defaultValue) const override {
        const auto found = overrides_.find(section + u'/' + key);
        return found != overrides_.end() ? found->second : base_.value(section, key, defaultValue);
    }
    void setValue(const QString& section, const QString& key, const QString& value) override {
        set(section, key, value);
    }

private:
    const SettingsStore& base_;
    std::map<QString, QString> overrides_;
};

void print(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
}

// Boxes become lines on standard error; an error box makes the run fail.
class ConsoleBoxes : public MessageBoxService, public InputBoxService {
public:
    ConsoleBoxes(std::FILE* err, QString height) : err_(err), height_(std::move(height)) {}
    MsgAnswer show(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                   const QString&) override {
        print(err_, prompt + u'\n');
        if (icon == MsgIcon::Critical)
            failed_ = true;
        return buttons == MsgButtons::Ok ? MsgAnswer::Ok : MsgAnswer::Cancel;
    }
    QString ask(const QString&, const QString&, const QString&) override { return height_; }
    bool failed() const { return failed_; }

private:
    std::FILE* err_;
    QString height_;
    bool failed_ = false;
};

// True when both names lead to one file: the same path once links and "./"
// are resolved, or another name (a hard link) of the same file.
bool sameFile(const QString& a, const QString& b) {
    struct stat first {};
    struct stat second {};
    if (::stat(QFile::encodeName(a).constData(), &first) != 0 ||
        ::stat(QFile::encodeName(b).constData(), &second) != 0)
        return false;
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

// The lines of a text file as the readers split them: a line ends at CR LF
// or at a lone CR, and a last line without a line break still counts.
qint64 countLines(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    qint64 lines = 0;
    char last = 0;
    char beforeLast = 0;
    qint64 size = 0;
    std::vector<char> block(std::size_t(1) << 20);
    for (;;) {
        const qint64 got = file.read(block.data(), qint64(block.size()));
        if (got <= 0)
            break;
        lines += std::count(block.data(), block.data() + got, '\r');
        beforeLast = got > 1 ? block[std::size_t(got - 2)] : last;
        last = block[std::size_t(got - 1)];
        size += got;
    }
    const bool endsWithBreak = last == '\r' || (last == '\n' && beforeLast == '\r');
    return lines + (size > 0 && !endsWithBreak ? 1 : 0);
}

// Tells on standard error what an input left out: its lines that gave no
// point, or that it gave no point at all. The exit status stays as it is.
void reportDropped(std::FILE* err, const QString& input, FileFormat format, double points) {
    const QString name = QFileInfo(input).fileName();
    if (points == 0) {
        print(err, QStringLiteral("tovalin-cli : attention : « %1 » n'a donné aucun point "
                                  "(fichier vide, binaire, ou lu avec un autre séparateur ?)\n")
                       .arg(name));
        return;
    }
    if (format != FileFormat::Xyz)
        return;
    const qint64 dropped = countLines(input) - qint64(points);
    if (dropped > 0)
        print(err, QStringLiteral("tovalin-cli : « %1 » : %2 sans point, laissée%3 de côté\n")
                       .arg(name,
                            dropped == 1 ? QStringLiteral("1 ligne")
                                         : DefaultText(double(dropped)) + QStringLiteral(" lignes"),
                            dropped == 1 ? QString() : QStringLiteral("s")));
}

// The output is written beside its target under a temporary name and takes
// the target's name only once it is whole: a failed run leaves the target as
// it was (absent, or the old file unchanged).
class OutputFile {
public:
    explicit OutputFile(const QString& target)
        : target_(target),
          temporary_(QFileInfo(target).absolutePath() + QStringLiteral("/.tovalin-cli-XXXXXX")) {
        temporary_.setAutoRemove(false);
    }
    ~OutputFile() {
        if (!committed_ && !temporary_.fileName().isEmpty())
            QFile::remove(temporary_.fileName());
    }
    // The name to write to; empty when no file can be made beside the target.
    QString reserve() {
        if (!temporary_.open())
            return QString();
        temporary_.close();
        return temporary_.fileName();
    }
    bool commit() {
        // A new file gets the permissions a file created in its place would
        // have; an old one keeps its own.
        const QFileInfo old(target_);
        QFile::Permissions permissions = old.exists() ? old.permissions()
                                                      : QFile::ReadOwner | QFile::WriteOwner |
                                                            QFile::ReadGroup | QFile::WriteGroup |
                                                            QFile::ReadOther | QFile::WriteOther;
        if (!old.exists()) {
            const mode_t mask = ::umask(0);
            ::umask(mask);
            if (mask & S_IWGRP)
                permissions &= ~QFile::WriteGroup;
            if (mask & S_IWOTH)
                permissions &= ~QFile::WriteOther;
            if (mask & S_IRGRP)
                permissions &= ~QFile::ReadGroup;
            if (mask & S_IROTH)
                permissions &= ~QFile::ReadOther;
        }
        QFile::setPermissions(temporary_.fileName(), permissions);
        committed_ = std::rename(QFile::encodeName(temporary_.fileName()).constData(),
                                 QFile::encodeName(target_).constData()) == 0;
        return committed_;
    }

private:
    QString target_;
    QTemporaryFile temporary_;
    bool committed_ = false;
};

class NoFileDialog : public FileDialogService {
public:
    FileDialogResult showOpen(const QString& name, const QString&) override {
        return {name, name, 1};
    }
    FileDialogResult showSave(const QString& name, const QString&) override {
        return {name, name, 1};
    }
};

std::optional<FileFormat> parseFormat(const QString& text) {
    if (text == u"xyz")
        return FileFormat::Xyz;
    if (text == u"dxf")
        return FileFormat::Dxf;
    if (text == u"csv")
        return FileFormat::Csv;
    if (text == u"dxf-points")
        return FileFormat::DxfPoints;
    return std::nullopt;
}

// The importer's options (--columns, --skip, --separator, --decimal) into
// options; false when arg is none of them. An error text goes to error.
bool parseImportOption(const QString& arg, const QString& value, importing::ImportOptions& options,
                       QString& error) {
    if (arg == u"--columns") {
        options.columns = importing::ParseColumns(value);
        if (!options.columns)
            error = QStringLiteral("--columns attend les rôles id, x, y, z ou - séparés par des "
                                   "virgules, x et y une fois chacun : ") +
                    value;
    } else if (arg == u"--skip") {
        const QByteArray digits = value.toUtf8();
        double lines = -1;
        if (!IsPlainWholeNumber(digits) || digits.startsWith('-') || digits.startsWith('+') ||
            !ReadPlainNumber(digits, '.', lines) || lines > 1e9)
            error = QStringLiteral("--skip attend un nombre de lignes : ") + value;
        else
            options.skipLines = int(lines);
    } else if (arg == u"--separator") {
        static const std::map<QString, QChar> separators{
            {",", u','},    {";", u';'}, {"|", u'|'},      {"\t", u'\t'},  {"\\t", u'\t'},
            {"tab", u'\t'}, {" ", u' '}, {"espace", u' '}, {"space", u' '}};
        const auto found = separators.find(value);
        if (found == separators.end())
            error = QStringLiteral("--separator attend , ; | tab ou espace : ") + value;
        else
            options.separator = found->second;
    } else if (arg == u"--decimal") {
        if (value != u"," && value != u".")
            error = QStringLiteral("--decimal attend , ou . : ") + value;
        else
            options.decimal = value[0];
    } else {
        return false;
    }
    return true;
}

// What the importer used, read and left aside, on standard error; false
// when it read nothing.
bool reportImport(std::FILE* err, const QString& input, FileFormat format,
                  const importing::ImportReport& report) {
    const QString name = QStringLiteral("tovalin-cli : « %1 » : ").arg(QFileInfo(input).fileName());
    QString line = name;
    if (format == FileFormat::Csv)
        line += importing::DescribeLayout(report.layout) + QStringLiteral(" ; ");
    line += DefaultText(double(report.points)) +
            (report.points == 1 ? QStringLiteral(" point lu") : QStringLiteral(" points lus"));
    if (report.rejectedCount > 0)
        line += QStringLiteral(", ") + DefaultText(double(report.rejectedCount)) +
                (report.rejectedCount == 1 ? QStringLiteral(" ligne laissée de côté")
                                           : QStringLiteral(" lignes laissées de côté"));
    if (!report.note.isEmpty())
        line += QStringLiteral(" (") + report.note + u')';
    print(err, line + u'\n');
    for (const importing::RejectedRow& row : report.rejected)
        print(err, name + QStringLiteral("ligne ") + DefaultText(double(row.line)) +
                       QStringLiteral(" : ") + row.reason + u'\n');
    const qint64 more = report.rejectedCount - qint64(report.rejected.size());
    if (more > 0)
        print(err, name + QStringLiteral("et ") + DefaultText(double(more)) +
                       (more == 1 ? QStringLiteral(" autre ligne laissée de côté\n")
                                  : QStringLiteral(" autres lignes laissées de côté\n")));
    return report.points > 0;
}

// When the XYZ reader read an input badly, whether it looks like another
// program's file: judged from its beginning, which is enough to see its
// line ends, header and columns.
void suggestImport(std::FILE* err, const QString& input, double points) {
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QString hint =
        importing::ImportHint(importing::ImportText::fromBytes(file.read(qint64(1) << 16)));
    if (!hint.isEmpty() && (points == 0 || countLines(input) > qint64(points)))
        print(err, QStringLiteral("tovalin-cli : « %1 » : ").arg(QFileInfo(input).fileName()) +
                       hint + u'\n');
}

struct Options {
    QString command;
    std::optional<FileFormat> from;
    std::optional<FileFormat> to;
    importing::ImportOptions import;
    bool importOptions = false;
    std::vector<std::pair<QString, QString>> sets;
    QString height = QStringLiteral("1");
    QStringList inputs;
    QString output;
};

// Parses the arguments; returns an error text for a usage error.
QString parse(const QStringList& args, Options& options) {
    if (args.isEmpty())
        return QStringLiteral("commande manquante");
    options.command = args.first();
    if (options.command != u"list" && options.command != u"convert")
        return QStringLiteral("commande inconnue : ") + options.command;
    for (qsizetype i = 1; i < args.size(); ++i) {
        const QString& arg = args[i];
        auto next = [&](QString& into) {
            if (i + 1 >= args.size())
                return false;
            into = args[++i];
            return true;
        };
        QString value;
        if (arg == u"--from" || arg == u"--to") {
            if (!next(value))
                return arg + QStringLiteral(" sans valeur");
            const auto format = parseFormat(value);
            if (!format)
                return QStringLiteral("format inconnu : ") + value;
            if (arg == u"--to" && format != FileFormat::Xyz && format != FileFormat::Dxf)
                return QStringLiteral("format de sortie inconnu : ") + value;
            (arg == u"--from" ? options.from : options.to) = format;
        } else if (arg == u"--columns" || arg == u"--skip" || arg == u"--separator" ||
                   arg == u"--decimal") {
            if (!next(value))
                return arg + QStringLiteral(" sans valeur");
            QString error;
            parseImportOption(arg, value, options.import, error);
            if (!error.isEmpty())
                return error;
            options.importOptions = true;
        } else if (arg == u"--set") {
            if (!next(value))
                return QStringLiteral("--set sans valeur");
            const qsizetype equals = value.indexOf(u'=');
            if (equals <= 0)
                return QStringLiteral("--set attend CLE=VALEUR : ") + value;
            const QString key = value.left(equals);
            if (!sectionOf(key))
                return QStringLiteral("réglage inconnu : ") + key;
            options.sets.emplace_back(
                key, value.mid(equals + 1).replace(QStringLiteral("\\t"), QStringLiteral("\t")));
        } else if (arg == u"--height") {
            if (!next(options.height))
                return QStringLiteral("--height sans valeur");
        } else if (arg == u"-o" || arg == u"--output") {
            if (!next(options.output))
                return arg + QStringLiteral(" sans valeur");
        } else if (arg.startsWith(u'-') && arg.size() > 1) {
            return QStringLiteral("option inconnue : ") + arg;
        } else {
            options.inputs << arg;
        }
    }
    if (options.importOptions && options.from != FileFormat::Csv)
        return QStringLiteral("--columns, --skip, --separator et --decimal vont avec --from csv");
    if (options.inputs.isEmpty())
        return QStringLiteral("aucun fichier d'entrée");
    if (options.command == u"convert" && options.output.isEmpty())
        return QStringLiteral("convert demande -o SORTIE");
    if (options.command == u"list" && (!options.output.isEmpty() || options.to))
        return QStringLiteral("list n'écrit pas de fichier");
    return QString();
}

// After a failed write, the cause in plain words where it is known: the XYZ
// writer counts its points in 16 bits.
void explainLimit(std::FILE* err, FileFormat format, double points) {
    if (format == FileFormat::Xyz && points > 32768)
        print(err,
              QStringLiteral("tovalin-cli : un fichier XYZ s'écrit avec 32 768 points au plus ; "
                             "celui-ci en a %1 (le DXF n'a pas cette limite).\n")
                  .arg(DefaultText(points)));
}

// Writes the list as the window would show it once the file is read: the
// rows are made here a block at a time, side by side, and written in order,
// instead of being kept in the list.
void printList(const GestionDonnee& state, std::FILE* out) {
    constexpr std::size_t kBlockRows = 1 << 15;
    const auto count = static_cast<std::size_t>(state.PointCount);
    const std::size_t parts = PartsFor(count, 4096);
    PerPart<PointGridModel::RowStore> rows(parts);
    PerPart<std::string> texts(parts);
    NoProgress none;
    for (std::size_t first = 0; first < count; first += kBlockRows * parts) {
        const std::size_t last = std::min(count, first + kBlockRows * parts);
        ForEachPart(last - first, parts, [&](std::size_t part, std::size_t begin, std::size_t end) {
            rows[part].reuse();
            state.AppendPointRows(first + begin, first + end, rows[part], none);
            std::string& text = texts[part];
            text.clear();
            for (std::size_t row = 0; row < rows[part].rowCount(); ++row) {
                rows[part].appendRowUtf8(row, 4, '\t', text);
                text.push_back('\n');
            }
        });
        for (std::size_t part = 0; part < parts; ++part)
            std::fwrite(texts[part].data(), 1, texts[part].size(), out);
    }
}

} // namespace

int RunConverter(const QStringList& arguments, SettingsStore& userSettings, std::FILE* out,
                 std::FILE* err) {
    if (arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"))) {
        print(out, QString::fromUtf8(helpText));
        return 0;
    }
    if (arguments.contains(QStringLiteral("--version"))) {
        const ProgramVersion version = programVersion();
        print(out, QStringLiteral("tovalin-cli (Tovalin) %1.%2.%3\n")
                       .arg(DefaultText(version.major), DefaultText(version.minor),
                            DefaultText(version.revision)));
        return 0;
    }
    Options options;
    const QString usageError = parse(arguments, options);
    if (!usageError.isEmpty()) {
        print(err, QStringLiteral("tovalin-cli : ") + usageError + u'\n');
        std::fputs(usageLine, err);
        return 2;
    }

    // An output that is one of the inputs would be destroyed before it is read.
    if (options.command == u"convert") {
        for (const QString& input : options.inputs) {
            if (sameFile(input, options.output)) {
                print(err, QStringLiteral("tovalin-cli : la sortie « %1 » est le fichier "
                                          "d'entrée « %2 » : choisir une autre sortie\n")
                               .arg(options.output, input));
                return 2;
            }
        }
    }

    OverlaySettings settings(userSettings);
    for (const auto& [key, value] : options.sets)
        settings.set(*sectionOf(key), key, value);

    GestionDonnee state;
    ConsoleBoxes boxes(err, options.height);
    NoFileDialog files;
    NoWindowSurface window;
    NoProgress progress;
    CommandContext context{state, boxes, boxes, files, settings, window, progress};

    try {
        LoadSettings(state.Settings, settings);
        for (qsizetype i = 0; i < options.inputs.size(); ++i) {
            const QString& input = options.inputs[i];
            const FileFormat format = options.from.value_or(FormatOfName(input));
            // The list is built after each file, as the program does: reading
            // the next depends on it. After the last nothing reads it: list
            // makes its rows as it prints them, and the writers read the store.
            const double before = state.PointCount;
            importing::ImportReport imported;
            if (i + 1 == options.inputs.size())
                ReadPointFile(context, input, QFileInfo(input).fileName(), format, &options.import,
                              &imported);
            else
                OpenFile(context, input, QFileInfo(input).fileName(), format, &options.import,
                         &imported);
            if (format == FileFormat::Csv || format == FileFormat::DxfPoints) {
                // An input that gave nothing fails the run before anything is written.
                if (!reportImport(err, input, format, imported))
                    return 1;
                continue;
            }
            reportDropped(err, input, format, state.PointCount - before);
            if (format == FileFormat::Xyz)
                suggestImport(err, input, state.PointCount - before);
        }
        if (options.command == u"list") {
            printList(state, out);
        } else {
            const FileFormat format = options.to.value_or(FormatOfName(options.output));
            OutputFile output(options.output);
            const QString written = output.reserve();
            if (written.isEmpty())
                throw RuntimeError(RuntimeError::PermissionDenied);
            bool done = false;
            try {
                if (format == FileFormat::Xyz)
                    WriteXyzFile(context, written);
                else
                    WriteDxfFile(context, written);
                done = !boxes.failed();
            } catch (const RuntimeError&) {
                explainLimit(err, format, state.PointCount);
                throw;
            }
            if (!done)
                explainLimit(err, format, state.PointCount);
            else if (!output.commit())
                throw RuntimeError(RuntimeError::PermissionDenied);
        }
    } catch (const RuntimeError& error) {
        print(err, error.reportText() + u'\n');
        return 1;
    }
    std::fflush(out);
    return boxes.failed() ? 1 : 0;
}
