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
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

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
    "  --height TEXTE réponse à la question de la hauteur du texte du DXF (\"1\") ;\n"
    "                 0 n'écrit rien (statut 1)\n"
    "  -o SORTIE      remplacée seulement une fois écrite en entier ; à travers\n"
    "                 un lien, le fichier visé ; un fichier protégé en écriture\n"
    "                 est refusé ; un périphérique ou un tube nommé\n"
    "                 (/dev/stdout, une FIFO) est écrit directement\n"
    "  --             fin des options : ce qui suit est un fichier\n"
    "  --help         cette aide\n"
    "  --version      la version de Tovalin\n"
    "\n"
    "Les réglages sont lus dans le fichier de réglages de Tovalin, jamais écrits.\n"
    "Statut de sortie : 0 réussi, 1 erreur (message sur la sortie d'erreur) ou\n"
    "conversion sans aucun point lu (rien n'est écrit), 2 mauvais usage.\n";

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

// Counts what the reader ticks: the XYZ reader ticks once per line it reads,
// so the count is the file's lines without opening it again (a pipe can be
// read only once).
class LineCount : public NoProgress {
public:
    void tick() override { ++ticks; }
    qint64 ticks = 0;
};

// Tells on standard error what an input left out: its lines that gave no
// point, or that it gave no point at all. The exit status stays as it is.
void reportDropped(std::FILE* err, const QString& input, FileFormat format, double points,
                   qint64 lines) {
    const QString name = QFileInfo(input).fileName();
    if (points == 0) {
        print(err, QStringLiteral("tovalin-cli : attention : « %1 » n'a donné aucun point "
                                  "(fichier vide, binaire, ou lu avec un autre séparateur ?)\n")
                       .arg(name));
        return;
    }
    if (format != FileFormat::Xyz)
        return;
    const qint64 dropped = lines - qint64(points);
    if (dropped > 0)
        print(err, QStringLiteral("tovalin-cli : « %1 » : %2 sans point, laissée%3 de côté\n")
                       .arg(name,
                            dropped == 1 ? QStringLiteral("1 ligne")
                                         : DefaultText(double(dropped)) + QStringLiteral(" lignes"),
                            dropped == 1 ? QString() : QStringLiteral("s")));
}

// The temporary file a signal must not leave behind. A signal handler can
// reach nothing but process-wide data, so this is the converter's one piece
// of it: the name encoded beforehand, removed with unlink(2) alone
// (async-signal-safe), armed only while the file exists.
char pendingTemporary[4096];
volatile std::sig_atomic_t pendingArmed = 0;

extern "C" void removeTemporaryAndStop(int signal) {
    if (pendingArmed)
        ::unlink(pendingTemporary);
    // The handler was reset to the default on entry: the signal ends the run
    // as it would have without us.
    ::raise(signal);
}

constexpr int kCleanedSignals[] = {SIGINT, SIGTERM, SIGHUP};

int errorOfErrno(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return RuntimeError::PathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
        return RuntimeError::PermissionDenied;
    default:
        return RuntimeError::PathFileAccess;
    }
}

// True when the mode bits let this process write the file: those of its
// owner, group or others, whichever it is. Decided on the bits and not by
// access(2), which lets root write anything: the program's save refuses a
// write-protected file and so does the converter, whoever runs it.
bool modeAllowsWriting(const struct stat& info) {
    if (info.st_uid == ::geteuid())
        return (info.st_mode & S_IWUSR) != 0;
    bool inGroup = info.st_gid == ::getegid();
    if (!inGroup) {
        std::vector<gid_t> groups(std::size_t(std::max(::getgroups(0, nullptr), 0)));
        const int count = ::getgroups(int(groups.size()), groups.data());
        inGroup = std::find(groups.begin(), groups.begin() + std::max(count, 0), info.st_gid) !=
                  groups.begin() + std::max(count, 0);
    }
    return (info.st_mode & (inGroup ? S_IWGRP : S_IWOTH)) != 0;
}

// The output, wherever it stands. A regular file (or a new one) is written
// beside itself under a temporary name and takes its name only once whole, so
// a failed run leaves it as it was; through symbolic links, the file they
// lead to is the one replaced and the links stay. A device or a pipe
// (/dev/null, /dev/stdout, a FIFO) is written into directly, as cp does: it
// cannot be replaced, and a partial write there is all it can get.
class OutputFile {
public:
    // Throws the run-time error the program's save would meet: 70 for a
    // write-protected file or folder, 76 for a missing folder.
    explicit OutputFile(const QString& output) {
        QByteArray path = QFile::encodeName(output);
        for (int hops = 0;; ++hops) {
            struct stat info {};
            if (::lstat(path.constData(), &info) != 0) {
                if (errno != ENOENT)
                    throw RuntimeError(errorOfErrno(errno));
                break; // a new file
            }
            if (S_ISLNK(info.st_mode) && hops < 40 && !path.startsWith("/proc/") &&
                !path.startsWith("/dev/fd/")) {
                QByteArray next(4096, Qt::Uninitialized);
                const ssize_t length = ::readlink(path.constData(), next.data(), 4096);
                if (length < 0 || length >= 4096)
                    throw RuntimeError(RuntimeError::PathFileAccess);
                next.truncate(length);
                if (!next.startsWith('/'))
                    next = path.left(path.lastIndexOf('/') + 1) + next;
                path = next;
                continue;
            }
            // Links into /proc (/dev/stdout leads there) name open files,
            // not places: written through as they stand.
            struct stat target {};
            if (::stat(path.constData(), &target) != 0)
                throw RuntimeError(errorOfErrno(errno));
            if (!S_ISREG(target.st_mode) || S_ISLNK(info.st_mode)) {
                direct_ = output;
                return;
            }
            if (!modeAllowsWriting(target))
                throw RuntimeError(RuntimeError::PermissionDenied);
            exists_ = true;
            mode_ = target.st_mode & 07777;
            break;
        }
        target_ = path;
        const qsizetype slash = path.lastIndexOf('/');
        QByteArray name = (slash < 0 ? QByteArray() : path.left(slash + 1)) + ".tovalin-cli-XXXXXX";
        const int fd = ::mkstemp(name.data());
        if (fd < 0)
            throw RuntimeError(errorOfErrno(errno));
        // A new file gets the permissions a file created in its place would
        // have; an old one keeps its own.
        if (!exists_) {
            const mode_t mask = ::umask(0);
            ::umask(mask);
            mode_ = 0666 & ~mask;
        }
        ::fchmod(fd, mode_);
        ::close(fd);
        temporary_ = name;
        arm();
    }
    ~OutputFile() {
        if (!temporary_.isEmpty() && !committed_)
            ::unlink(temporary_.constData());
        disarm();
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // The name the writer writes to.
    QString written() const { return direct_.isEmpty() ? QFile::decodeName(temporary_) : direct_; }
    bool commit() {
        if (!direct_.isEmpty())
            return true;
        committed_ = std::rename(temporary_.constData(), target_.constData()) == 0;
        return committed_;
    }

private:
    void arm() {
        if (temporary_.size() >= qsizetype(sizeof pendingTemporary))
            return;
        std::memcpy(pendingTemporary, temporary_.constData(), std::size_t(temporary_.size() + 1));
        struct sigaction action {};
        action.sa_handler = removeTemporaryAndStop;
        action.sa_flags = SA_RESETHAND;
        sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < std::size(kCleanedSignals); ++i)
            ::sigaction(kCleanedSignals[i], &action, &saved_[i]);
        pendingArmed = 1;
        armed_ = true;
    }
    void disarm() {
        if (!armed_)
            return;
        pendingArmed = 0;
        for (std::size_t i = 0; i < std::size(kCleanedSignals); ++i)
            ::sigaction(kCleanedSignals[i], &saved_[i], nullptr);
    }

    QString direct_;    // a device or pipe, written as named
    QByteArray target_; // the regular file replaced, links followed
    QByteArray temporary_;
    bool exists_ = false;
    mode_t mode_ = 0;
    bool committed_ = false;
    bool armed_ = false;
    struct sigaction saved_[std::size(kCleanedSignals)]{};
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
void suggestImport(std::FILE* err, const QString& input, double points, qint64 lines) {
    // Only a file can be looked at again: a pipe has been read once already.
    if (!(points == 0 || lines > qint64(points)) || !QFileInfo(input).isFile())
        return;
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QString hint =
        importing::ImportHint(importing::ImportText::fromBytes(file.read(qint64(1) << 16)));
    if (!hint.isEmpty())
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
    bool optionsEnded = false;
    for (qsizetype i = 1; i < args.size(); ++i) {
        const QString& arg = args[i];
        // After "--" every argument is a file, even one named like an option.
        if (optionsEnded) {
            options.inputs << arg;
            continue;
        }
        if (arg == u"--") {
            optionsEnded = true;
            continue;
        }
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
    // Only the options before "--" count: after it, "--help" is a file.
    const QStringList leading = arguments.mid(0, arguments.indexOf(QStringLiteral("--")));
    if (leading.contains(QStringLiteral("--help")) || leading.contains(QStringLiteral("-h"))) {
        print(out, QString::fromUtf8(helpText));
        return 0;
    }
    if (leading.contains(QStringLiteral("--version"))) {
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
        // Made first, so that an output that cannot be written is told before
        // a long read; a signal from here on leaves no temporary file.
        std::optional<OutputFile> output;
        if (options.command == u"convert")
            output.emplace(options.output);
        for (qsizetype i = 0; i < options.inputs.size(); ++i) {
            const QString& input = options.inputs[i];
            const FileFormat format = options.from.value_or(FormatOfName(input));
            // The list is built after each file, as the program does: reading
            // the next depends on it. After the last nothing reads it: list
            // makes its rows as it prints them, and the writers read the store.
            const double before = state.PointCount;
            importing::ImportReport imported;
            LineCount lines;
            CommandContext reading{state, boxes, boxes, files, settings, window, lines};
            ReadPointFile(reading, input, QFileInfo(input).fileName(), format, &options.import,
                          &imported);
            if (i + 1 < options.inputs.size())
                state.RefreshPointList();
            if (format == FileFormat::Csv || format == FileFormat::DxfPoints) {
                // An input that gave nothing fails the run before anything is written.
                if (!reportImport(err, input, format, imported))
                    return 1;
                continue;
            }
            reportDropped(err, input, format, state.PointCount - before, lines.ticks);
            if (format == FileFormat::Xyz)
                suggestImport(err, input, state.PointCount - before, lines.ticks);
        }
        if (options.command == u"list") {
            printList(state, out);
        } else {
            const FileFormat format = options.to.value_or(FormatOfName(options.output));
            // Nothing read, nothing written: an old output is worth more than
            // an empty one, and a batch must see that this file failed.
            if (state.PointCount == 0) {
                print(err, QStringLiteral("tovalin-cli : aucun point lu : « %1 » n'est pas "
                                          "écrit\n")
                               .arg(options.output));
                return 1;
            }
            // A height of 0 makes the writer stop before it touches a file,
            // as the program's save does without a word; here it is said, and
            // the status tells that nothing was written.
            if (format == FileFormat::Dxf && DxfTextHeight(options.height) == 0) {
                print(err, QStringLiteral("tovalin-cli : hauteur de texte nulle : « %1 » n'est "
                                          "pas écrit\n")
                               .arg(options.output));
                return 1;
            }
            bool done = false;
            try {
                if (format == FileFormat::Xyz)
                    WriteXyzFile(context, output->written());
                else
                    WriteDxfFile(context, output->written());
                done = !boxes.failed();
            } catch (const RuntimeError&) {
                explainLimit(err, format, state.PointCount);
                throw;
            }
            if (!done)
                explainLimit(err, format, state.PointCount);
            else if (!output->commit())
                throw RuntimeError(RuntimeError::PermissionDenied);
        }
    } catch (const RuntimeError& error) {
        print(err, error.reportText() + u'\n');
        return 1;
    }
    std::fflush(out);
    return boxes.failed() ? 1 : 0;
}
