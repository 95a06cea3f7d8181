#include "formats/XyzWriter.h"

#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "platform/RuntimeError.h"
#include "platform/SettingsStore.h"
#include "platform/TextFile.h"
#include "state/CommandContext.h"
#include "state/GestionDonnee.h"

using namespace platform;

namespace {

const QString kCaption = QStringLiteral("Enregistrement XYZ : ");
const QString kPointCaption = QStringLiteral("Enregistrement XYZ : Point ");

// The loop counter is a 16-bit integer: every value it takes is checked,
// including the step after the last pass.
int16_t nextCounter(int16_t counter) {
    return ToInt16(double(counter) + 1);
}

// ExtCfg is not kept in memory: the store is asked again for every point, so
// a change made while the file is written takes effect on the next line. It
// is read strictly, as the program's other numeric settings are: a text that
// is no number is a type mismatch, which the writer's handler reports.
bool writeUnformatted(const SettingsStore& settings) {
    const QString extCfg =
        settings.value(QStringLiteral("App"), QStringLiteral("ExtCfg"), QStringLiteral("0"));
    return CDbl(extCfg) != 0;
}

void writeAllPoints(CommandContext& context, const QString& fileName) {
    const GestionDonnee& state = context.state;
    const InMemorySettings& settings = state.Settings;

    LineWriter file(fileName);
    // Converted only once the file exists: too many points leave it empty.
    const int16_t last = ToInt16(state.PointCount - 1);

    const QString other = settings.Separateur_Autre_Ecr.toText();
    const QString separator = other.isEmpty() ? settings.Separateur_Ecr.toText() : other;
    const bool flat = settings.Fich_Dim.toText() == u"2D";
    const QString total = QLatin1Char('/') + DefaultText(state.PointCount);
    const NumberFormat format = NumberFormat::current();
    // Never grouped here, whatever SepSys says.
    const NumberPattern pattern(settings.NbDec, format);

    TextBuffer line;
    auto append = [&](QStringView text) { line.append(text.utf16(), text.size()); };
    // The step after the last pass is checked too: with exactly 32,768 points
    // every line is written and then the overflow is reported.
    for (int16_t i = 0; i <= last; i = nextCounter(i)) {
        const PointRecord& point = state.Points[static_cast<std::size_t>(i)];
        line.clear();
        append(point.Matricule);
        const bool unformatted = writeUnformatted(context.settings);
        for (double value : {point.X, point.Y}) {
            append(separator);
            if (!unformatted)
                pattern.append(line, value);
            else
                // Ticked means the default number text, not the display format:
                // that is what files written with the box ticked have always held.
                AppendDefaultText(line, value, format);
        }
        append(separator);
        if (flat)
            append(u"0.000"); // written as it stands, whatever the decimal character
        else if (!unformatted)
            pattern.append(line, point.Z);
        else
            AppendDefaultText(line, point.Z, format);
        file.writeLine(QStringView(line.constData(), line.size()));

        context.progress.setCountCaption(kPointCaption, double(i) + 1, total);
    }
    file.close();
}

} // namespace

void WriteXyzFile(CommandContext& context, const QString& fileName) {
    context.window.setCountLabel(kCaption);
    try {
        writeAllPoints(context, fileName);
    } catch (const RuntimeError& error) {
        // The lines written so far are in the file: the writer was flushed
        // when it went out of scope. The label keeps its last progress text.
        context.progress.flush();
        context.messages.show(QStringLiteral("Erreur n° ") + DefaultText(error.number()) +
                                  QStringLiteral("\r\nDescription : ") + error.description(),
                              MsgButtons::Ok, MsgIcon::Critical, DefaultBoxTitle());
        return;
    }
    context.window.setCountLabel(GestionDonnee::PointCountLabel(context.state.PointCount));
}
