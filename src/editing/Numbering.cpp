#include "editing/Numbering.h"

#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/Progress.h"
#include "state/GestionDonnee.h"

#include <cmath>

using platform::MsgButtons;
using platform::MsgIcon;

namespace {

void refuse(platform::MessageBoxService& messages, const QString& prompt) {
    messages.show(prompt, MsgButtons::Ok, MsgIcon::Critical);
}

QString combine(NumberingMode mode, const QString& insertion, const QString& old) {
    switch (mode) {
    case NumberingMode::Replace:
        return insertion;
    case NumberingMode::AddBefore:
        return insertion + old;
    case NumberingMode::AddAfter:
        break;
    }
    return old + insertion;
}

// The run shared by both kinds: every point of the store, in store order
// (there is no selection; points removed from the list are numbered too),
// then the list rebuilt. insertionFor gives the new part from the counter.
template <typename InsertionFor>
void numberEveryPoint(GestionDonnee& state, NumberingMode mode, float& counter,
                      platform::Progress& progress, InsertionFor insertionFor) {
    const double count = std::floor(state.PointCount);
    const QString ofCount = QLatin1Char('/') + platform::DefaultText(count);
    const QString captionStart = numbering_texts::caption() + QLatin1Char(' ');
    // Indexed every time: the progress lets other windows run, and one of them
    // may append to the store (which moves it) between two points.
    for (double i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        PointRecord record = state.Points[index];
        record.Matricule = combine(mode, insertionFor(counter), record.Matricule);
        state.SetPoint(record, i);
        // A 32-bit float: past 16777216 adding 1 no longer changes it, and
        // the identifiers repeat. Kept so; it is the counter's type.
        counter = counter + 1.0f;
        progress.setCaption(captionStart + platform::DefaultText(i + 1) + ofCount);
    }
    progress.setCaption(numbering_texts::refreshing());
    progress.flush();
    state.RefreshPointList();
    progress.setCaption(numbering_texts::caption());
    progress.flush();
    state.DataModified = true;
}

} // namespace

InsertionParts SplitAtAsterisk(const QString& text) {
    InsertionParts parts;
    const qsizetype star = text.indexOf(QLatin1Char('*'));
    if (star >= 0) {
        parts.Prefix = text.left(star);
        parts.Suffix = text.mid(star + 1);
    }
    return parts;
}

QString NumberingCounterText(float counter) {
    return platform::DefaultTextFloat(counter);
}

bool NumberPoints(GestionDonnee& state, platform::MessageBoxService& messages,
                  const QString& startText, NumberingMode mode, float& counter,
                  platform::Progress& progress) {
    if (!platform::IsNumeric(startText)) {
        refuse(messages, numbering_texts::badNumber());
        return false;
    }
    counter = platform::CSng(startText);
    numberEveryPoint(state, mode, counter, progress,
                     [](float value) { return NumberingCounterText(value); });
    return true;
}

bool NumberPointsWithText(GestionDonnee& state, platform::MessageBoxService& messages,
                          const QString& text, bool withNumber, const QString& startText,
                          NumberingMode mode, float& counter, platform::Progress& progress) {
    if (text.isEmpty()) {
        refuse(messages, numbering_texts::noText());
        return false;
    }
    if (withNumber) {
        if (!platform::IsNumeric(startText)) {
            refuse(messages, numbering_texts::badNumber());
            return false;
        }
        counter = platform::CSng(startText);
    }
    const InsertionParts parts = SplitAtAsterisk(text);
    if (withNumber) {
        numberEveryPoint(state, mode, counter, progress, [&parts](float value) {
            return parts.Prefix + NumberingCounterText(value) + parts.Suffix;
        });
    } else {
        const QString fixed = parts.Prefix + parts.Suffix;
        numberEveryPoint(state, mode, counter, progress, [&fixed](float) { return fixed; });
    }
    return true;
}
