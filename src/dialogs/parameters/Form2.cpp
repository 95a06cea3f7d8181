#include "dialogs/parameters/Form2.h"

#include "platform/CommandRunner.h"
#include "platform/Dialogs.h"
#include "platform/NumberText.h"
#include "platform/SettingsStore.h"
#include "state/GestionDonnee.h"
#include "state/Startup.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace platform;

namespace {

// The two separator lists: what each entry shows and the character it stands for.
struct SeparatorEntry {
    const char16_t* caption;
    const char16_t* character;
};
constexpr SeparatorEntry kSeparators[] = {
    {u", (virgule)", u","}, {u"; (point virgule)", u";"}, {u": (deux points)", u":"},
    {u"Espace", u" "},      {u"Tabulation", u"\t"},
};

// The messages of the typing rules, spelt as the program has always shown them.
const QString kForbiddenCharacter = QStringLiteral("Caratère interdit");
const QString kLayerNamePrompt =
    QStringLiteral("Nom de calque invalide\r\nCaratères autorisés : A à Z, 0 à 9, $, - , _");
const QString kLayerNameTitle = QStringLiteral("Nom invalide");
const QString kNumberPrompt = QStringLiteral("Nombre incorrect");
const QString kNumberTitle = QStringLiteral("Point incorrect");

const QColor kDisabledFieldColour(192, 192, 192);
constexpr int kLayerNameLength = 31;

QString separatorCaption(const SeparatorEntry& entry) {
    return QString::fromUtf16(entry.caption);
}

QString separatorCharacter(const SeparatorEntry& entry) {
    return QString::fromUtf16(entry.character);
}

bool isLayerNameCharacter(QChar c) {
    const char16_t u = c.unicode();
    return (u >= u'0' && u <= u'9') || (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') ||
           u == u'_' || u == u'$' || u == u' ' || u == u'-';
}

// Whether the key typed produced one of the characters.
bool typed(const QKeyEvent* event, std::initializer_list<char16_t> characters) {
    const QString text = event->text();
    for (char16_t c : characters) {
        if (text.contains(QChar(c)))
            return true;
    }
    return false;
}

QLineEdit* makeField(const char* name, QWidget* parent) {
    auto* field = new QLineEdit(parent);
    field->setObjectName(QString::fromLatin1(name));
    return field;
}

QCheckBox* makeCheck(const char* name, const QString& caption, QWidget* parent) {
    auto* box = new QCheckBox(caption, parent);
    box->setObjectName(QString::fromLatin1(name));
    return box;
}

QLabel* makeLabel(const char* name, const QString& caption, QWidget* parent) {
    auto* label = new QLabel(caption, parent);
    label->setObjectName(QString::fromLatin1(name));
    return label;
}

QRadioButton* makeOption(const char* name, const QString& caption, QWidget* parent) {
    auto* option = new QRadioButton(caption, parent);
    option->setObjectName(QString::fromLatin1(name));
    return option;
}

} // namespace

Form2::Form2(GestionDonnee& state, MessageBoxService& messages, SettingsStore& settings,
             QWidget* parent)
    : QDialog(parent), state_(state), messages_(messages), settings_(settings) {
    setObjectName(QStringLiteral("Form2"));
    setWindowTitle(QStringLiteral("Paramètres des fichiers"));
    setModal(false);
    // Closing unloads the dialog; the next opening starts from the store again.
    setAttribute(Qt::WA_DeleteOnClose);
    buildControls();
    connectRules();
    LoadForm();
}

bool Form2::LayerNameHasForbiddenCharacter(const QString& text) {
    return !std::all_of(text.begin(), text.end(), isLayerNameCharacter);
}

bool Form2::NumberHasForbiddenCharacter(const QString& text) {
    return !std::all_of(text.begin(), text.end(),
                        [](QChar c) { return c.unicode() >= u'0' && c.unicode() <= u'9'; });
}

void Form2::buildControls() {
    // Frame of the XYZ files.
    Frame1 = new QGroupBox(QStringLiteral("Paramètres fichier XYZ"), this);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    auto* xyz = new QGridLayout(Frame1);

    Label2 = makeLabel("Label2", QStringLiteral("Lecture"), Frame1);
    Label1 = makeLabel("Label1", QStringLiteral("Séparateur de coordonnées : "), Frame1);
    Combo1 = new QComboBox(Frame1);
    Combo1->setObjectName(QStringLiteral("Combo1"));
    Check1 = makeCheck("Check1", QStringLiteral("Autre : "), Frame1);
    Text1 = makeField("Text1", Frame1);

    Label3 = makeLabel("Label3", QStringLiteral("Ecriture"), Frame1);
    Label4 = makeLabel("Label4", QStringLiteral("Séparateur de coordonnées : "), Frame1);
    Combo2 = new QComboBox(Frame1);
    Combo2->setObjectName(QStringLiteral("Combo2"));
    Check2 = makeCheck("Check2", QStringLiteral("Autre : "), Frame1);
    Text2 = makeField("Text2", Frame1);

    Check5 = makeCheck("Check5",
                       QStringLiteral("Numérotation automatique des point à partir de : "), Frame1);
    Text6 = makeField("Text6", Frame1);
    Check6 = makeCheck("Check6",
                       QStringLiteral("Tenir compte du formatage des coordonnées (séparateur de "
                                      "milliers, séparateur décimal)"),
                       Frame1);

    QFont heading = Label2->font();
    heading.setBold(true);
    Label2->setFont(heading);
    Label3->setFont(heading);
    for (QLineEdit* field : {Text1, Text2})
        field->setFixedWidth(60);
    Text6->setFixedWidth(90);

    // A box and the field it switches on stand side by side.
    auto pair = [](QWidget* box, QWidget* field) {
        auto* row = new QHBoxLayout;
        row->addWidget(box);
        row->addWidget(field);
        row->addStretch();
        return row;
    };
    xyz->addWidget(Label2, 0, 0, 1, 3);
    xyz->addWidget(Label1, 1, 0);
    xyz->addWidget(Combo1, 1, 1);
    xyz->addLayout(pair(Check1, Text1), 1, 2);
    xyz->addWidget(Label3, 2, 0, 1, 3);
    xyz->addWidget(Label4, 3, 0);
    xyz->addWidget(Combo2, 3, 1);
    xyz->addLayout(pair(Check2, Text2), 3, 2);
    xyz->addLayout(pair(Check5, Text6), 4, 0, 1, 3);
    xyz->addWidget(Check6, 5, 0, 1, 3);

    // Frame of the DXF files.
    Frame2 = new QGroupBox(QStringLiteral("Paramètre fichier DXF"), this);
    Frame2->setObjectName(QStringLiteral("Frame2"));
    auto* dxf = new QGridLayout(Frame2);

    // Each pair of option buttons sits in a row of its own and forms its own
    // group, so the flavour and the dimension are chosen independently.
    auto* flavourRow = new QWidget(Frame2);
    auto* flavourLayout = new QHBoxLayout(flavourRow);
    flavourLayout->setContentsMargins(0, 0, 0, 0);
    Option1 = makeOption("Option1", QStringLiteral("Fichier DXF pour Microstation"), flavourRow);
    Option2 = makeOption("Option2", QStringLiteral("Fichier DXF pour AutoCAD"), flavourRow);
    flavourLayout->addWidget(Option1);
    flavourLayout->addWidget(Option2);
    flavourLayout->addStretch();
    flavourGroup_ = new QButtonGroup(this);
    flavourGroup_->addButton(Option1);
    flavourGroup_->addButton(Option2);

    Label5 = makeLabel("Label5", QStringLiteral("Ecriture"), Frame2);
    Label5->setFont(heading);
    Label6 = makeLabel("Label6", QStringLiteral("Calque d'insertion des points : "), Frame2);
    Text3 = makeField("Text3", Frame2);
    Check3 = makeCheck("Check3", QStringLiteral("Calque d'insertion des matricules : "), Frame2);
    Text4 = makeField("Text4", Frame2);
    Check4 = makeCheck("Check4", QStringLiteral("Calque d'insertion des Z : "), Frame2);
    Text5 = makeField("Text5", Frame2);
    Check7 = makeCheck("Check7", QStringLiteral("Numérotation des points à partir de : "), Frame2);
    Text7 = makeField("Text7", Frame2);
    for (QLineEdit* field : {Text3, Text4, Text5}) {
        field->setMaxLength(kLayerNameLength);
        field->setFixedWidth(200);
    }
    Text7->setFixedWidth(90);

    auto* dimensionRow = new QWidget(Frame2);
    auto* dimensionLayout = new QHBoxLayout(dimensionRow);
    dimensionLayout->setContentsMargins(0, 0, 0, 0);
    Option3 = makeOption("Option3", QStringLiteral("Générer un fichier 2D"), dimensionRow);
    Option4 = makeOption("Option4", QStringLiteral("Générer un fichier 3D"), dimensionRow);
    dimensionLayout->addWidget(Option3);
    dimensionLayout->addWidget(Option4);
    dimensionLayout->addStretch();
    dimensionGroup_ = new QButtonGroup(this);
    dimensionGroup_->addButton(Option3);
    dimensionGroup_->addButton(Option4);

    dxf->addWidget(flavourRow, 0, 0, 1, 2);
    dxf->addWidget(Label5, 1, 0, 1, 2);
    dxf->addWidget(Label6, 2, 0);
    dxf->addWidget(Text3, 2, 1, Qt::AlignLeft);
    dxf->addWidget(Check3, 3, 0);
    dxf->addWidget(Text4, 3, 1, Qt::AlignLeft);
    dxf->addWidget(Check4, 4, 0);
    dxf->addWidget(Text5, 4, 1, Qt::AlignLeft);
    dxf->addWidget(Check7, 5, 0);
    dxf->addWidget(Text7, 5, 1, Qt::AlignLeft);
    dxf->addWidget(dimensionRow, 6, 0, 1, 2);
    dxf->setColumnStretch(2, 1);

    Command1 = new QPushButton(QStringLiteral("Ok"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command2 = new QPushButton(QStringLiteral("Annuler"), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    // Enter in a field does not confirm the dialog.
    for (QPushButton* button : {Command1, Command2}) {
        button->setAutoDefault(false);
        button->setDefault(false);
    }
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(Command1);
    buttons->addWidget(Command2);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Frame1);
    layout->addWidget(Frame2);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    // The dialog as it was designed, before the store is read.
    Text3->setText(QStringLiteral("0"));
    Text4->setText(QStringLiteral("0"));
    Text5->setText(QStringLiteral("0"));
    Text6->setText(QStringLiteral("1"));
    Text7->setText(QStringLiteral("1"));
    Check3->setChecked(true);
    Check4->setChecked(true);
    Check5->setChecked(true);
    for (QLineEdit* field : {Text1, Text2, Text3, Text4, Text5, Text6})
        setFieldActive(field, true);
    setFieldActive(Text7, false);
}

void Form2::connectRules() {
    // A box runs its rule whenever its value changes, in code or by the user.
    // Every rule runs guarded: an error ends it with the report.
    using platform::Guarded;
    connect(Check1, &QCheckBox::toggled, this, Guarded(messages_, [this] { Check1Click(); }));
    connect(Check2, &QCheckBox::toggled, this, Guarded(messages_, [this] { Check2Click(); }));
    connect(Check3, &QCheckBox::toggled, this, Guarded(messages_, [this] { Check3Click(); }));
    connect(Check4, &QCheckBox::toggled, this, Guarded(messages_, [this] { Check4Click(); }));
    connect(Check5, &QCheckBox::toggled, this, Guarded(messages_, [this] { Check5Click(); }));
    connect(Check6, &QCheckBox::toggled, this, Guarded(messages_, [this] { Check6Click(); }));
    connect(Check7, &QCheckBox::toggled, this, Guarded(messages_, [this] { Check7Click(); }));
    connect(Option1, &QRadioButton::toggled, this, Guarded(messages_, [this](bool on) {
                if (on)
                    Option1Click();
            }));
    connect(Option2, &QRadioButton::toggled, this, Guarded(messages_, [this](bool on) {
                if (on)
                    Option2Click();
            }));

    for (QLineEdit* field : {Text3, Text4, Text5}) {
        connect(field, &QLineEdit::textChanged, this, Guarded(messages_, [this, field] {
                    checkChange(field, &Form2::LayerNameHasForbiddenCharacter, kLayerNamePrompt,
                                kLayerNameTitle);
                }));
    }
    for (QLineEdit* field : {Text6, Text7}) {
        connect(field, &QLineEdit::textChanged, this, Guarded(messages_, [this, field] {
                    checkChange(field, &Form2::NumberHasForbiddenCharacter, kNumberPrompt,
                                kNumberTitle);
                }));
    }
    for (QLineEdit* field : {Text1, Text2, Text3, Text4, Text5, Text6, Text7})
        field->installEventFilter(this);

    connect(Command1, &QPushButton::clicked, this, Guarded(messages_, [this] { Command1Click(); }));
    // "Annuler" only unloads: what the boxes' rules changed at once stays.
    connect(Command2, &QPushButton::clicked, this, &QWidget::close);
}

void Form2::LoadForm() {
    InMemorySettings& memory = state_.Settings;
    const QString section = sections::parametre();
    auto read = [&](const char* key, const char* defaultValue) {
        return settings_.value(section, QString::fromLatin1(key), QString::fromUtf8(defaultValue));
    };

    for (QComboBox* list : {Combo1, Combo2}) {
        for (const SeparatorEntry& entry : kSeparators)
            list->addItem(separatorCaption(entry));
        // Nothing is shown until a stored separator matches an entry.
        list->setCurrentIndex(-1);
    }

    memory.Separateur_Lec = Variant(read("Separateur_Lec", ","));
    memory.Separateur_Ecr = Variant(read("Separateur_Ecr", ","));
    auto showSeparator = [](QComboBox* list, const QString& character) {
        for (int i = 0; i < int(std::size(kSeparators)); ++i) {
            if (separatorCharacter(kSeparators[i]) == character)
                list->setCurrentIndex(i);
        }
    };
    showSeparator(Combo1, memory.Separateur_Lec.toText());
    showSeparator(Combo2, memory.Separateur_Ecr.toText());

    memory.Separateur_Autre_Lec = Variant(read("Separateur_Autre_Lec", ""));
    memory.Separateur_Autre_Ecr = Variant(read("Separateur_Autre_Ecr", ""));
    // A value that is no number leaves the box cleared rather than failing the
    // opening; the writer reads it strictly when it uses it.
    const QString extCfg =
        settings_.value(sections::app(), QStringLiteral("ExtCfg"), QStringLiteral("0"));
    Check6->setChecked(IsNumeric(extCfg) && CDbl(extCfg) != 0);

    auto loadOther = [](QCheckBox* box, QLineEdit* field, const QString& value) {
        box->setChecked(!value.isEmpty());
        setFieldActive(field, !value.isEmpty());
        field->setText(value);
    };
    loadOther(Check1, Text1, memory.Separateur_Autre_Lec.toText());
    loadOther(Check2, Text2, memory.Separateur_Autre_Ecr.toText());

    memory.Calque_Point = Variant(read("Calque_Point", "0"));
    memory.Calque_Matricule = Variant(read("Calque_Matricule", "0"));
    memory.Calque_Z = Variant(read("Calque_Z", "0"));
    Text3->setText(memory.Calque_Point.toText());
    Text4->setText(memory.Calque_Matricule.toText());
    Text5->setText(memory.Calque_Z.toText());
    auto loadLayer = [](QCheckBox* box, QLineEdit* field) {
        const bool named = !field->text().isEmpty();
        box->setChecked(named);
        setFieldActive(field, named);
    };
    loadLayer(Check3, Text4);
    loadLayer(Check4, Text5);

    memory.Num_Premier_Pt = Variant(read("Num_Premier_Pt", "1"));
    memory.Inc_Num = Variant(read("Inc_Num", "0"));
    memory.Num_Pt_Dxf = Variant(read("Num_Pt_Dxf", "1"));
    // Text7 still holds its design text "1" here, so the box is always ticked
    // and its rule shows the stored Num_Pt_Dxf, even an empty one: the
    // numbering of DXF points is back on at every opening.
    const bool numbered = !Text7->text().isEmpty();
    Check7->setChecked(numbered);
    setFieldActive(Text7, numbered);
    if (memory.Inc_Num.toText() == u"1") {
        Check5->setChecked(true);
        Text6->setText(memory.Num_Premier_Pt.toText());
        setFieldActive(Text6, true);
    } else {
        Check5->setChecked(false);
        setFieldActive(Text6, false);
    }

    // Both buttons are cleared first so that selecting one always runs its
    // rule: the opening replaces the layer names shown by the flavour's own.
    // Users have always seen it so; kept on purpose.
    const QString flavour = read("Dxf_Format", "MS");
    flavourGroup_->setExclusive(false);
    Option1->setChecked(false);
    Option2->setChecked(false);
    flavourGroup_->setExclusive(true);
    if (flavour == u"MS")
        Option1->setChecked(true);
    else if (flavour == u"AC")
        Option2->setChecked(true);

    const QString dimension = read("Fich_Dim", "2D");
    if (dimension == u"2D")
        Option3->setChecked(true);
    else if (dimension == u"3D")
        Option4->setChecked(true);
}

void Form2::setFieldActive(QLineEdit* field, bool active) {
    field->setEnabled(active);
    QPalette palette = field->palette();
    palette.setColor(QPalette::Base, active ? QApplication::palette(field).color(QPalette::Base)
                                            : kDisabledFieldColour);
    field->setPalette(palette);
}

void Form2::Check1Click() {
    if (Check1->isChecked()) {
        setFieldActive(Text1, true);
        Text1->setText(state_.Settings.Separateur_Autre_Lec.toText());
    } else {
        setFieldActive(Text1, false);
        Text1->clear();
        state_.Settings.Separateur_Autre_Lec = Variant(QString());
    }
}

void Form2::Check2Click() {
    if (Check2->isChecked()) {
        setFieldActive(Text2, true);
        Text2->setText(state_.Settings.Separateur_Autre_Ecr.toText());
    } else {
        setFieldActive(Text2, false);
        Text2->clear();
        state_.Settings.Separateur_Autre_Ecr = Variant(QString());
    }
}

void Form2::Check3Click() {
    setFieldActive(Text4, Check3->isChecked());
    Text4->setText(Check3->isChecked() ? state_.Settings.Calque_Matricule.toText() : QString());
}

void Form2::Check4Click() {
    setFieldActive(Text5, Check4->isChecked());
    Text5->setText(Check4->isChecked() ? state_.Settings.Calque_Z.toText() : QString());
}

void Form2::Check5Click() {
    setFieldActive(Text6, Check5->isChecked());
    Text6->setText(Check5->isChecked() ? QStringLiteral("1") : QString());
}

void Form2::Check6Click() {
    // Written at once, not on "Ok": the XYZ writer reads it from the store.
    settings_.setValue(sections::app(), QStringLiteral("ExtCfg"),
                       Check6->isChecked() ? QStringLiteral("1") : QStringLiteral("0"));
}

void Form2::Check7Click() {
    setFieldActive(Text7, Check7->isChecked());
    Text7->setText(Check7->isChecked() ? state_.Settings.Num_Pt_Dxf.toText() : QString());
}

void Form2::Option1Click() {
    Text3->setText(QStringLiteral("0"));
    if (Check3->isChecked())
        Text4->setText(QStringLiteral("1"));
    if (Check4->isChecked())
        Text5->setText(QStringLiteral("2"));
}

void Form2::Option2Click() {
    Text3->setText(QStringLiteral("Point"));
    if (Check3->isChecked())
        Text4->setText(QStringLiteral("Point_Mat"));
    if (Check4->isChecked())
        Text5->setText(QStringLiteral("Point_Z"));
}

bool Form2::eventFilter(QObject* watched, QEvent* event) {
    auto* field = qobject_cast<QLineEdit*>(watched);
    if (field == nullptr)
        return QDialog::eventFilter(watched, event);
    bool taken = false;
    platform::RunCommand(messages_, [&] { taken = filterField(field, event); });
    return taken || QDialog::eventFilter(watched, event);
}

bool Form2::filterField(QLineEdit* field, QEvent* event) {

    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        // A rejected key is shown its message and never reaches the field,
        // which leaves the field as a backspace after it would.
        if ((field == Text1 || field == Text2) && typed(key, {u'.', u'\u00B4'})) {
            messages_.show(kForbiddenCharacter, MsgButtons::Ok, MsgIcon::Critical,
                           kForbiddenCharacter);
            return true;
        }
        if ((field == Text3 || field == Text4 || field == Text5) && typed(key, {u' ', u'\u00A0'})) {
            messages_.show(kLayerNamePrompt, MsgButtons::Ok, MsgIcon::Critical, kLayerNameTitle);
            return true;
        }
    } else if (event->type() == QEvent::FocusOut) {
        // Only a move to another control of the dialog is a loss of focus:
        // a message box or another window taking it over is not.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            refillOnFocusLoss(field);
    }
    return false;
}

void Form2::checkChange(QLineEdit* field, bool (*forbidden)(const QString&), const QString& prompt,
                        const QString& title) {
    // The removal below changes the text again; that change is checked by
    // the loop, not by a nested call.
    if (correcting_)
        return;
    correcting_ = true;
    struct Reset {
        bool& flag;
        ~Reset() { flag = false; }
    } reset{correcting_};

    // One message per removed character: a pasted text is worked back from
    // the cursor until nothing forbidden is left, as repeated backspaces do.
    while (forbidden(field->text())) {
        messages_.show(prompt, MsgButtons::Ok, MsgIcon::Critical, title);
        const QString before = field->text();
        if (field->cursorPosition() == 0 && !field->hasSelectedText())
            field->end(false);
        field->backspace();
        if (field->text() == before)
            break;
    }
}

void Form2::refillOnFocusLoss(QLineEdit* field) {
    // A field that loses the focus because it is being switched off keeps
    // the emptiness its box gave it.
    if (!field->isEnabled() || !field->text().isEmpty())
        return;
    if (field == Text6 || field == Text7) {
        field->setText(QStringLiteral("1"));
        return;
    }
    // The Microstation refills are one above what the flavour button puts
    // in these fields; files made with the program have always had them.
    const char* ac = nullptr;
    const char* ms = nullptr;
    if (field == Text3) {
        ac = "Point";
        ms = "1";
    } else if (field == Text4) {
        ac = "Point_Mat";
        ms = "2";
    } else if (field == Text5) {
        ac = "Point_Z";
        ms = "3";
    } else {
        return;
    }
    if (Option2->isChecked())
        field->setText(QString::fromLatin1(ac));
    else if (Option1->isChecked())
        field->setText(QString::fromLatin1(ms));
}

QString Form2::separatorOfList(const QComboBox* list, const QString& current) const {
    for (const SeparatorEntry& entry : kSeparators) {
        if (list->currentText() == separatorCaption(entry))
            return separatorCharacter(entry);
    }
    // A separator the lists do not offer (put in the settings file by hand)
    // shows no entry; it is kept rather than lost.
    return current;
}

void Form2::save(const char* key, const QString& value) {
    settings_.setValue(sections::parametre(), QString::fromLatin1(key), value);
}

void Form2::Command1Click() {
    InMemorySettings& memory = state_.Settings;

    const QString lec = separatorOfList(Combo1, memory.Separateur_Lec.toText());
    save("Separateur_Lec", lec);
    memory.Separateur_Lec = Variant(lec);
    const QString ecr = separatorOfList(Combo2, memory.Separateur_Ecr.toText());
    save("Separateur_Ecr", ecr);
    memory.Separateur_Ecr = Variant(ecr);

    const QString otherLec = Check1->isChecked() ? Text1->text() : QString();
    save("Separateur_Autre_Lec", otherLec);
    memory.Separateur_Autre_Lec = Variant(otherLec);
    const QString otherEcr = Check2->isChecked() ? Text2->text() : QString();
    save("Separateur_Autre_Ecr", otherEcr);
    memory.Separateur_Autre_Ecr = Variant(otherEcr);

    save("Calque_Point", Text3->text());
    memory.Calque_Point = Variant(Text3->text());

    // Switched off, the identifier layer is emptied in memory only: the
    // store keeps the last name, which the next opening brings back. The Z
    // layer below is emptied in both. The difference is deliberate.
    if (Check3->isChecked()) {
        save("Calque_Matricule", Text4->text());
        memory.Calque_Matricule = Variant(Text4->text());
    } else {
        memory.Calque_Matricule = Variant(QString());
    }
    const QString heightLayer = Check4->isChecked() ? Text5->text() : QString();
    save("Calque_Z", heightLayer);
    memory.Calque_Z = Variant(heightLayer);

    const QString incNum = Check5->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    const QString first = Check5->isChecked() ? Text6->text() : QString();
    save("Inc_Num", incNum);
    memory.Inc_Num = Variant(incNum);
    save("Num_Premier_Pt", first);
    memory.Num_Premier_Pt = Variant(first);

    save("Num_Pt_Dxf", Text7->text());
    memory.Num_Pt_Dxf = Variant(Text7->text());

    // With neither button selected (a value the dialog does not know was in
    // the store) the setting is left as it was.
    if (Option1->isChecked() || Option2->isChecked()) {
        const QString flavour = Option1->isChecked() ? QStringLiteral("MS") : QStringLiteral("AC");
        save("Dxf_Format", flavour);
        memory.Dxf_Format = Variant(flavour);
    }
    if (Option3->isChecked() || Option4->isChecked()) {
        const QString dimension =
            Option3->isChecked() ? QStringLiteral("2D") : QStringLiteral("3D");
        save("Fich_Dim", dimension);
        memory.Fich_Dim = Variant(dimension);
    }

    close();
}
