#include "import/Importer.h"

#include "import/CellSplitter.h"
#include "platform/NumberText.h"
#include "platform/Parallel.h"
#include "platform/Progress.h"
#include "platform/TextArena.h"
#include "state/GestionDonnee.h"

#include <algorithm>
#include <array>
#include <map>

using namespace platform;

namespace importing {

namespace {

// Lines looked at to find the layout, and the most lines taken as a header.
constexpr int kSampleLines = 200;
constexpr int kMostHeaderLines = 50;
// Lines read side by side at a time: few enough for the records waiting to
// be added to stay small beside the store.
constexpr qsizetype kBatchLines = qsizetype(1) << 16;

bool isBlank(QByteArrayView line) {
    for (char c : line)
        if (c != ' ' && c != '\t')
            return false;
    return true;
}

bool isNumber(QByteArrayView cell, char decimal) {
    double ignored;
    return ReadPlainNumber(cell, decimal, ignored);
}

int numericCells(const CellSplitter& cells, char decimal) {
    int count = 0;
    for (qsizetype i = 0; i < cells.size(); ++i)
        count += isNumber(cells[i], decimal);
    return count;
}

// No column is named at such length; a cell running over most of the file
// is not made a text for nothing.
constexpr qsizetype kLongestName = 1024;

// A column name as written by hand: quotes gone, accents and case folded,
// a unit in brackets dropped, and only letters and digits kept.
QString foldedName(QByteArrayView cell) {
    if (cell.size() > kLongestName)
        return QString();
    QString name = QString::fromUtf8(cell).trimmed();
    const qsizetype bracket = name.indexOf(u'(');
    if (bracket > 0)
        name.truncate(bracket);
    name = name.normalized(QString::NormalizationForm_D).toLower();
    QString folded;
    for (QChar c : name)
        if ((c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9'))
            folded += c;
    return folded;
}

// The names other programs give their columns, in French, English, Spanish
// and Portuguese, once folded.
ColumnRole roleOfName(const QString& folded) {
    static const std::map<QString, ColumnRole> names = [] {
        std::map<QString, ColumnRole> map;
        const auto add = [&map](ColumnRole role, std::initializer_list<const char*> list) {
            for (const char* name : list)
                map[QString::fromLatin1(name)] = role;
        };
        add(ColumnRole::Id, {"id",         "name",        "nom",
                             "point",      "pt",          "num",
                             "no",         "numero",      "number",
                             "matricule",  "ptid",        "pointid",
                             "pointname",  "pointnumber", "pointno",
                             "ptname",     "ptnum",       "numpoint",
                             "numpt",      "nompoint",    "numerodepoint",
                             "nomdupoint", "label",       "station",
                             "nombre",     "nome",        "punto",
                             "ponto",      "identifiant", "identificador",
                             "ident",      "fid",         "pid",
                             "pnt",        "numeropunto", "numeroponto"});
        add(ColumnRole::X, {"x", "e", "east", "easting", "est", "este", "coordx", "xcoord",
                            "xcoordinate", "lon", "long", "longitude", "longitud", "ex"});
        add(ColumnRole::Y, {"y", "n", "north", "northing", "nord", "norte", "coordy", "ycoord",
                            "ycoordinate", "lat", "latitude", "latitud", "ny"});
        add(ColumnRole::Z, {"z",           "h",       "elev",   "elevation",   "alt",
                            "altitude",    "height",  "cote",   "coordz",      "zcoord",
                            "zcoordinate", "hauteur", "altura", "elevacion",   "elevacao",
                            "cota",        "ele",     "hgt",    "orthoheight", "ellipsoidheight"});
        return map;
    }();
    const auto found = names.find(folded);
    return found == names.end() ? ColumnRole::Skip : found->second;
}

// The roles a header line names; empty unless it names both X and Y. A
// role named twice is taken from its first column.
std::vector<ColumnRole> rolesOfHeader(const CellSplitter& cells) {
    std::vector<ColumnRole> roles;
    bool seen[5] = {};
    for (qsizetype i = 0; i < cells.size(); ++i) {
        ColumnRole role = roleOfName(foldedName(cells[i]));
        if (seen[int(role)] && role != ColumnRole::Skip)
            role = ColumnRole::Skip;
        seen[int(role)] = true;
        roles.push_back(role);
    }
    if (!seen[int(ColumnRole::X)] || !seen[int(ColumnRole::Y)])
        return {};
    return roles;
}

// The non-blank lines from first, at most kSampleLines of them.
std::vector<qsizetype> sampleLines(const ImportText& text, qsizetype first) {
    std::vector<qsizetype> lines;
    for (qsizetype i = std::max<qsizetype>(first, 0);
         i < text.lineCount() && lines.size() < std::size_t(kSampleLines); ++i)
        if (!isBlank(text.line(i)))
            lines.push_back(i);
    return lines;
}

// The separator that cuts most lines into the same number of cells, two of
// them numbers at least; blanks come last among equals.
QChar findSeparator(const ImportText& text, const std::vector<qsizetype>& sample,
                    std::optional<QChar> decimal) {
    const char candidates[] = {'\t', ';', ',', '|', ' '};
    CellSplitter cells;
    char best = ',';
    std::size_t bestScore = 0;
    for (char separator : candidates) {
        std::map<qsizetype, std::size_t> counts;
        for (qsizetype line : sample) {
            cells.split(text.line(line), separator);
            int numbers = 0;
            for (qsizetype i = 0; i < cells.size(); ++i) {
                const bool point = (!decimal || *decimal == u'.') && isNumber(cells[i], '.');
                const bool comma =
                    separator != ',' && (!decimal || *decimal == u',') && isNumber(cells[i], ',');
                numbers += point || comma;
            }
            if (numbers >= 2)
                ++counts[cells.size()];
        }
        std::size_t score = 0;
        for (const auto& [size, lines] : counts)
            score = std::max(score, lines);
        if (score > bestScore) {
            bestScore = score;
            best = separator;
        }
    }
    return QChar::fromLatin1(best);
}

// A decimal comma where more numbers are written with it than with a point.
QChar findDecimal(const ImportText& text, const std::vector<qsizetype>& sample, char separator) {
    if (separator == ',')
        return u'.';
    CellSplitter cells;
    std::size_t points = 0, commas = 0;
    for (qsizetype line : sample) {
        cells.split(text.line(line), separator);
        for (qsizetype i = 0; i < cells.size(); ++i) {
            const QByteArrayView cell = cells[i];
            points += cell.contains('.') && isNumber(cell, '.');
            commas += cell.contains(',') && isNumber(cell, ',');
        }
    }
    return commas > points ? u',' : u'.';
}

// The roles of the usual layouts, told by the columns' content: a first
// column of names or whole numbers before three or more numbers is the
// point's name (point, X, Y, Z, more); otherwise X, Y and Z come first.
std::vector<ColumnRole> rolesOfContent(const ImportText& text, const std::vector<qsizetype>& sample,
                                       char separator, char decimal) {
    struct Column {
        std::size_t present = 0, numbers = 0, wholes = 0;
    };
    std::vector<Column> columns;
    CellSplitter cells;
    for (qsizetype line : sample) {
        cells.split(text.line(line), separator);
        if (columns.size() < std::size_t(cells.size()))
            columns.resize(std::size_t(cells.size()));
        for (qsizetype i = 0; i < cells.size(); ++i) {
            Column& column = columns[std::size_t(i)];
            const QByteArrayView cell = cells[i];
            if (cell.isEmpty())
                continue;
            ++column.present;
            if (isNumber(cell, decimal)) {
                ++column.numbers;
                column.wholes += IsPlainWholeNumber(cell);
            }
        }
    }
    const auto numeric = [&](std::size_t i) {
        return i < columns.size() && columns[i].present > 0 &&
               columns[i].numbers * 2 > columns[i].present;
    };
    const auto numbersFrom = [&](std::size_t first) {
        std::size_t count = 0;
        while (numeric(first + count))
            ++count;
        return count;
    };
    using R = ColumnRole;
    if (!columns.empty() && !numeric(0) && columns[0].present > 0) {
        const std::size_t count = numbersFrom(1);
        if (count >= 3)
            return {R::Id, R::X, R::Y, R::Z};
        if (count == 2)
            return {R::Id, R::X, R::Y};
    }
    const std::size_t count = numbersFrom(0);
    if (count >= 4 && columns[0].wholes == columns[0].numbers)
        return {R::Id, R::X, R::Y, R::Z};
    if (count == 2)
        return {R::X, R::Y};
    return {R::X, R::Y, R::Z};
}

QString plural(qint64 count, const QString& one, const QString& many) {
    return DefaultText(double(count)) + u' ' + (count == 1 ? one : many);
}

QString separatorName(QChar separator) {
    switch (separator.unicode()) {
    case u',':
        return QStringLiteral("virgule");
    case u';':
        return QStringLiteral("point-virgule");
    case u'\t':
        return QStringLiteral("tabulation");
    case u'|':
        return QStringLiteral("barre verticale");
    case u' ':
        return QStringLiteral("blancs");
    default:
        return QStringLiteral("« ") + separator + QStringLiteral(" »");
    }
}

// Where the columns of each role are: -1 for none.
struct Columns {
    qsizetype id = -1, x = -1, y = -1, z = -1;
    qsizetype needed = 0; // cells a row needs for its name, X and Y

    explicit Columns(const std::vector<ColumnRole>& roles) {
        for (std::size_t i = 0; i < roles.size(); ++i) {
            qsizetype* at = nullptr;
            switch (roles[i]) {
            case ColumnRole::Id:
                at = &id;
                break;
            case ColumnRole::X:
                at = &x;
                break;
            case ColumnRole::Y:
                at = &y;
                break;
            case ColumnRole::Z:
                at = &z;
                break;
            case ColumnRole::Skip:
                break;
            }
            if (at && *at < 0)
                *at = qsizetype(i);
        }
        needed = std::max({id, x, y}) + 1;
    }
};

// A cell as the user is shown it: a long one is cut, at a character's
// start, so that a row of millions of bytes shows as one line.
QString shownText(QByteArrayView cell, qsizetype most) {
    if (cell.size() <= most)
        return QString::fromUtf8(cell);
    qsizetype cut = most;
    while (cut > 0 && (static_cast<unsigned char>(cell[cut]) & 0xC0) == 0x80)
        --cut;
    return QString::fromUtf8(cell.first(cut)) + QStringLiteral("…");
}

QString quoted(QByteArrayView cell) {
    return QStringLiteral("« ") + shownText(cell, 60) + QStringLiteral(" »");
}

// A row's name as written, from UTF-8; plain ASCII names are carved out of
// the arena, the others made on their own.
QString nameOf(QByteArrayView cell, TextArena& names) {
    for (char c : cell)
        if (static_cast<unsigned char>(c) >= 0x80)
            return QString::fromUtf8(cell);
    return names.make(cell.size(), [cell](QChar* out) {
        for (qsizetype i = 0; i < cell.size(); ++i)
            out[i] = QChar(static_cast<char16_t>(cell[i]));
    });
}

// What one part of a batch of lines gives.
struct PartResult {
    std::vector<PointRecord> points;
    std::vector<RejectedRow> rejected; // the first ones, with their reason
    qint64 rejectedCount = 0;
};

// Reads one row into point; returns the reason when it gives none (an empty
// text when the reason is not wanted, a null one when the row is good).
bool readRow(const CellSplitter& cells, const Columns& at, char decimal, bool wantReason,
             PointRecord& point, QString& reason, TextArena& names) {
    if (at.x < 0 || at.y < 0) {
        if (wantReason)
            reason = QStringLiteral("aucune colonne X ou Y");
        return false;
    }
    if (cells.size() < at.needed) {
        if (wantReason)
            reason = QStringLiteral("trop peu de colonnes (%1 au lieu d'au moins %2)")
                         .arg(DefaultText(double(cells.size())), DefaultText(double(at.needed)));
        return false;
    }
    const auto coordinate = [&](qsizetype column, const char* label, double& value) {
        const QByteArrayView cell = cells[column];
        if (ReadPlainNumber(cell, decimal, value))
            return true;
        if (wantReason)
            reason = cell.isEmpty() ? QStringLiteral("%1 manquant").arg(QLatin1StringView(label))
                                    : QStringLiteral("%1 n'est pas un nombre : %2")
                                          .arg(QLatin1StringView(label), quoted(cell));
        return false;
    };
    if (!coordinate(at.x, "X", point.X) || !coordinate(at.y, "Y", point.Y))
        return false;
    // No elevation (no such column, a short row or an empty cell) is Z 0.
    point.Z = 0;
    if (at.z >= 0 && at.z < cells.size() && !cells[at.z].isEmpty() &&
        !coordinate(at.z, "Z", point.Z))
        return false;
    if (at.id >= 0)
        point.Matricule = nameOf(cells[at.id], names);
    return true;
}

} // namespace

TextLayout DetectLayout(const ImportText& text, const ImportOptions& options) {
    TextLayout layout;
    layout.encoding = text.encoding();
    const std::vector<qsizetype> sample = sampleLines(text, options.skipLines.value_or(0));
    layout.separator = options.separator.value_or(findSeparator(text, sample, options.decimal));
    const char separator = char(layout.separator.toLatin1());
    layout.decimal = options.decimal.value_or(findDecimal(text, sample, separator));
    const char decimal = char(layout.decimal.toLatin1());

    // The header: the lines before the first with two numbers, up to a line
    // of column names; or the lines the user says to skip.
    CellSplitter cells;
    std::vector<ColumnRole> named;
    if (options.skipLines) {
        layout.skipLines = std::max(0, *options.skipLines);
        for (qsizetype i = std::min<qsizetype>(layout.skipLines, text.lineCount()) - 1; i >= 0;
             --i) {
            if (isBlank(text.line(i)))
                continue;
            cells.split(text.line(i), separator);
            named = rolesOfHeader(cells);
            break;
        }
    } else {
        qsizetype i = 0;
        for (; i < text.lineCount() && i < kMostHeaderLines; ++i) {
            if (isBlank(text.line(i)))
                continue;
            cells.split(text.line(i), separator);
            if (numericCells(cells, decimal) >= 2)
                break;
            named = rolesOfHeader(cells);
            if (!named.empty()) {
                ++i;
                break;
            }
        }
        // A file of words only gives no point, each row reported: nothing is
        // taken as a header when no data follow it.
        layout.skipLines = i < text.lineCount() || !named.empty() ? int(i) : 0;
    }
    for (qsizetype i = 0; i < std::min<qsizetype>(layout.skipLines, text.lineCount()); ++i) {
        if (isBlank(text.line(i)))
            continue;
        cells.split(text.line(i), separator);
        layout.headerLines += numericCells(cells, decimal) < 2 ? 1 : 0;
    }

    if (options.columns)
        layout.roles = *options.columns;
    else if (!named.empty())
        layout.roles = named;
    else
        layout.roles =
            rolesOfContent(text, sampleLines(text, layout.skipLines), separator, decimal);
    // Every column of the data gets a role, so that the description names
    // the columns left aside too.
    qsizetype widest = 0;
    for (qsizetype line : sampleLines(text, layout.skipLines)) {
        cells.split(text.line(line), separator);
        widest = std::max(widest, cells.size());
    }
    if (!options.columns && qsizetype(layout.roles.size()) < widest)
        layout.roles.resize(std::size_t(widest), ColumnRole::Skip);
    return layout;
}

std::vector<QStringList> SplitRows(const ImportText& text, const TextLayout& layout, int firstLine,
                                   int count) {
    constexpr qsizetype kPreviewColumns = 256;
    constexpr qsizetype kPreviewCharacters = 256;
    std::vector<QStringList> rows;
    CellSplitter cells;
    const char separator = char(layout.separator.toLatin1());
    for (qsizetype i = std::max(firstLine, 0);
         i < text.lineCount() && i < qsizetype(firstLine) + count; ++i) {
        cells.split(text.line(i), separator);
        // A preview, not the data: a line of millions of cells or bytes
        // shows its first ones.
        QStringList row;
        for (qsizetype c = 0; c < cells.size() && c < kPreviewColumns; ++c)
            row << shownText(cells[c], kPreviewCharacters);
        rows.push_back(std::move(row));
    }
    return rows;
}

ImportReport ReadRows(const ImportText& text, const TextLayout& layout,
                      const std::function<void(PointRecord&&)>& add, std::size_t keepRejected) {
    ImportReport report;
    report.layout = layout;
    const Columns at(layout.roles);
    const char separator = char(layout.separator.toLatin1());
    const char decimal = char(layout.decimal.toLatin1());
    const qsizetype first = std::min<qsizetype>(std::max(layout.skipLines, 0), text.lineCount());
    const qsizetype last = text.lineCount();
    const std::size_t parts = PartsFor(std::size_t(last - first), 4096);
    PerPart<PartResult> results(parts);
    PerPart<TextArena> arenas(parts);
    std::uint64_t number = 0; // the names of points read without one
    for (qsizetype batch = first; batch < last; batch += kBatchLines) {
        const qsizetype end = std::min(last, batch + kBatchLines);
        ForEachPart(
            std::size_t(end - batch), parts,
            [&](std::size_t part, std::size_t begin, std::size_t stop) {
                PartResult& result = results[part];
                result.points.clear();
                result.rejected.clear();
                result.rejectedCount = 0;
                result.points.reserve(stop - begin);
                CellSplitter cells;
                QString reason;
                PointRecord point;
                for (qsizetype line = batch + qsizetype(begin); line < batch + qsizetype(stop);
                     ++line) {
                    const QByteArrayView bytes = text.line(line);
                    if (isBlank(bytes))
                        continue;
                    cells.split(bytes, separator);
                    const bool wantReason = result.rejected.size() < keepRejected;
                    if (readRow(cells, at, decimal, wantReason, point, reason, arenas[part])) {
                        result.points.push_back(std::move(point));
                        point = PointRecord();
                        continue;
                    }
                    ++result.rejectedCount;
                    if (wantReason)
                        result.rejected.push_back({line + 1, reason});
                }
            });
        for (std::size_t part = 0; part < parts; ++part) {
            PartResult& result = results[part];
            for (PointRecord& point : result.points) {
                ++number;
                if (at.id < 0) {
                    char digits[24];
                    const int length = WriteWholeNumber(number, digits);
                    point.Matricule = QString::fromLatin1(digits, length);
                }
                add(std::move(point));
            }
            report.points += qint64(result.points.size());
            report.rejectedCount += result.rejectedCount;
            for (RejectedRow& row : result.rejected)
                if (report.rejected.size() < keepRejected)
                    report.rejected.push_back(std::move(row));
        }
    }
    return report;
}

ImportReport ImportDelimitedFile(GestionDonnee& state, const QString& fileName,
                                 const ImportOptions& options, Progress& progress,
                                 std::size_t keepRejected) {
    const ImportText text = ImportText::fromFile(fileName);
    const TextLayout layout = DetectLayout(text, options);
    state.ReservePoints(std::size_t(std::max<qsizetype>(0, text.lineCount() - layout.skipLines)));
    return ReadRows(
        text, layout,
        [&](PointRecord&& point) {
            state.AddPoint(std::move(point));
            progress.tick();
        },
        keepRejected);
}

QString DescribeLayout(const TextLayout& layout) {
    QString text =
        QStringLiteral("encodage %1, séparateur %2, décimale %3, ")
            .arg(layout.encoding, separatorName(layout.separator),
                 layout.decimal == u',' ? QStringLiteral("virgule") : QStringLiteral("point"));
    text += layout.headerLines == 0 ? QStringLiteral("sans en-tête")
                                    : plural(layout.headerLines, QStringLiteral("ligne d'en-tête"),
                                             QStringLiteral("lignes d'en-tête"));
    if (layout.skipLines != layout.headerLines)
        text += QStringLiteral(" (") +
                plural(layout.skipLines, QStringLiteral("ligne sautée"),
                       QStringLiteral("lignes sautées")) +
                u')';
    // Ignored columns past the sixteenth and past the last one read are
    // counted, not listed: a line of a thousand cells is one line here too.
    std::size_t listed = layout.roles.size();
    while (listed > 16 && layout.roles[listed - 1] == ColumnRole::Skip)
        --listed;
    QStringList roles;
    for (std::size_t i = 0; i < listed; ++i)
        roles << RoleName(layout.roles[i]);
    text += QStringLiteral(", colonnes ") + roles.join(u',');
    if (listed < layout.roles.size())
        text += QStringLiteral(",… (%1 en tout)").arg(DefaultText(double(layout.roles.size())));
    if (std::find(layout.roles.begin(), layout.roles.end(), ColumnRole::Id) == layout.roles.end())
        text += QStringLiteral(" (points numérotés à partir de 1)");
    return text;
}

QString RoleName(ColumnRole role) {
    switch (role) {
    case ColumnRole::Id:
        return QStringLiteral("id");
    case ColumnRole::X:
        return QStringLiteral("x");
    case ColumnRole::Y:
        return QStringLiteral("y");
    case ColumnRole::Z:
        return QStringLiteral("z");
    case ColumnRole::Skip:
        break;
    }
    return QStringLiteral("-");
}

std::optional<std::vector<ColumnRole>> ParseColumns(const QString& text) {
    std::vector<ColumnRole> roles;
    bool seen[5] = {};
    for (const QString& name : text.split(u',')) {
        const QString folded = name.trimmed().toLower();
        ColumnRole role;
        if (folded == u"-")
            role = ColumnRole::Skip;
        else if (folded == u"id")
            role = ColumnRole::Id;
        else if (folded == u"x")
            role = ColumnRole::X;
        else if (folded == u"y")
            role = ColumnRole::Y;
        else if (folded == u"z")
            role = ColumnRole::Z;
        else
            return std::nullopt;
        // Each role once, and X and Y somewhere: anything else reads nothing.
        if (role != ColumnRole::Skip && seen[int(role)])
            return std::nullopt;
        seen[int(role)] = true;
        roles.push_back(role);
    }
    if (!seen[int(ColumnRole::X)] || !seen[int(ColumnRole::Y)])
        return std::nullopt;
    return roles;
}

QString ImportHint(const ImportText& text) {
    QStringList reasons;
    if (text.lfCount() > 0 && text.crlfCount() == 0 && text.crCount() == 0)
        reasons << QStringLiteral("lignes terminées par LF seul");
    const TextLayout layout = DetectLayout(text, ImportOptions());
    CellSplitter cells;
    // A header that names the columns; a stray word before the points is no
    // reason to look elsewhere.
    for (qsizetype i = std::min<qsizetype>(layout.skipLines, text.lineCount()) - 1; i >= 0; --i) {
        if (isBlank(text.line(i)))
            continue;
        cells.split(text.line(i), char(layout.separator.toLatin1()));
        if (!rolesOfHeader(cells).empty())
            reasons << QStringLiteral("ligne d'en-tête");
        break;
    }
    const std::vector<qsizetype> sample = sampleLines(text, layout.skipLines);
    std::size_t wide = 0;
    for (qsizetype line : sample) {
        cells.split(text.line(line), char(layout.separator.toLatin1()));
        wide += cells.size() > 4;
    }
    if (!sample.empty() && wide * 2 > sample.size())
        reasons << QStringLiteral("plus de quatre colonnes");
    if (reasons.isEmpty())
        return QString();
    return QStringLiteral("il ressemble à un relevé d'un autre programme (%1) : "
                          "essayer --from csv")
        .arg(reasons.join(QStringLiteral(", ")));
}

} // namespace importing
