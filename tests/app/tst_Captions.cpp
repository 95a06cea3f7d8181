#include "ProgramFixture.h"
#include "TestRunner.h"

#include "info/InfoWindows.h"

#include <QStyle>
#include <QStyleOptionButton>

using namespace testing;

namespace {

using Fixture = ProgramFixture;

// The room a caption needs beyond its text in a push button: the style's
// margin and frame on both sides. The size hint would also count the
// style's least button width, which a narrow "Ok" does not need.
int buttonRoom(const QPushButton* button) {
    QStyleOptionButton option;
    option.initFrom(button);
    const QStyle* style = button->style();
    return 2 * (style->pixelMetric(QStyle::PM_ButtonMargin, &option, button) / 2 +
                style->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, button));
}

// Every visible caption of the window whose text does not fit its widget,
// as "name \"text\" needs W x H, has w x h".
QStringList cutCaptions(QWidget* window) {
    QStringList cut;
    auto check = [&](const QWidget* widget, const QString& text, QSize needed) {
        if (text.isEmpty() || !widget->isVisibleTo(window))
            return;
        if (needed.width() > widget->width() || needed.height() > widget->height())
            cut << QStringLiteral("%1 \"%2\" needs %3 x %4, has %5 x %6")
                       .arg(widget->objectName(), text)
                       .arg(needed.width())
                       .arg(needed.height())
                       .arg(widget->width())
                       .arg(widget->height());
    };
    for (const QLabel* label : window->findChildren<QLabel*>()) {
        if (label->text().isEmpty() || !label->pixmap().isNull())
            continue;
        if (label->wordWrap())
            check(label, label->text(),
                  QSize(label->minimumSizeHint().width(), label->heightForWidth(label->width())));
        else
            check(label, label->text(), label->sizeHint());
    }
    for (const QPushButton* button : window->findChildren<QPushButton*>()) {
        const QFontMetrics metrics(button->font());
        check(button, button->text(),
              QSize(metrics.horizontalAdvance(button->text()) + buttonRoom(button),
                    metrics.height()));
    }
    for (const QCheckBox* box : window->findChildren<QCheckBox*>())
        check(box, box->text(), box->sizeHint());
    for (const QRadioButton* option : window->findChildren<QRadioButton*>())
        check(option, option->text(), option->sizeHint());
    for (const QGroupBox* frame : window->findChildren<QGroupBox*>()) {
        const QFontMetrics metrics(frame->font());
        // The title stands inside the frame's border, a few pixels in.
        check(frame, frame->title(),
              QSize(metrics.horizontalAdvance(frame->title()) + 16, metrics.height()));
    }
    return cut;
}

struct Window {
    QString name;    // its object name
    QString command; // the menu item that opens it; "" for the main window
    QString then;    // a button of that window that opens this one
};

} // namespace
Q_DECLARE_METATYPE(Window)

class CaptionsTest : public QObject {
    Q_OBJECT
private slots:
    // Every caption of every window fits at the default font: none is cut
    // off ("\um :" for "Num : ").
    void captionsFit_data() {
        Rows<Window> row;
        row("Form1", {"Form1", "", ""});
        row("Form2", {"Form2", "para", ""});
        row("Form3 enter", {"Form3", "ent_pt", ""});
        row("Form3 modify", {"Form3", "mod_pt", ""});
        row("Form3 search", {"Form3", "rech", ""});
        row("Form5", {"Form5", "MnuImmatriculation", ""});
        row("FormatDonnee", {"FormatDonnee", "Mnu_Format", ""});
        row("frmVisualisation", {"frmVisualisation", "view", ""});
        row("frmAide", {"frmAide", "help", ""});
        row("Form4", {"Form4", "apropos", ""});
        row("frmHistorique", {"frmHistorique", "apropos", "Command2"});
        row("frmMail", {"frmMail", "EnvMail", ""});
        row("Form6", {"Form6", "print", ""});
    }
    void captionsFit() {
        QFETCH(Window, c);
        Fixture f;
        QWidget* window = &f.window;
        if (!c.command.isEmpty()) {
            f.window.menuItem(c.command)->trigger();
            if (!c.then.isEmpty()) {
                QPushButton* button =
                    f.topLevel(QStringLiteral("Form4"))->findChild<QPushButton*>(c.then);
                QVERIFY(button);
                button->click();
            }
            window = f.topLevel(c.name);
        }
        QVERIFY2(window, qPrintable(c.name));
        const QStringList cut = cutCaptions(window);
        QVERIFY2(cut.isEmpty(), qPrintable(cut.join(u'\n')));
    }

    void splashCaptionsFit() {
        frmIntro splash([] {});
        splash.show();
        const QStringList cut = cutCaptions(&splash);
        QVERIFY2(cut.isEmpty(), qPrintable(cut.join(u'\n')));
    }
};

TOVALIN_TEST(CaptionsTest)
#include "tst_Captions.moc"
