#include "ProgramFixture.h"
#include "TestRunner.h"

#include "info/InfoWindows.h"

#include <QStyle>
#include <QStyleOptionButton>

using namespace testing;

namespace {

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
        if (label->pixmap().isNull())
            check(label, label->text(),
                  label->wordWrap() ? QSize(label->minimumSizeHint().width(),
                                            label->heightForWidth(label->width()))
                                    : label->sizeHint());
    }
    for (const QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        const QFontMetrics metrics(button->font());
        if (auto* push = qobject_cast<const QPushButton*>(button))
            check(button, button->text(),
                  QSize(metrics.horizontalAdvance(button->text()) + buttonRoom(push),
                        metrics.height()));
        else
            check(button, button->text(), button->sizeHint());
    }
    for (const QGroupBox* frame : window->findChildren<QGroupBox*>()) {
        const QFontMetrics metrics(frame->font());
        // The title stands inside the frame's border, a few pixels in.
        check(frame, frame->title(),
              QSize(metrics.horizontalAdvance(frame->title()) + 16, metrics.height()));
    }
    return cut;
}

} // namespace

class CaptionsTest : public QObject {
    Q_OBJECT
private slots:
    // Every caption of every window fits at the default font: none is cut
    // off ("\um :" for "Num : ").
    void captionsFit_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("opens"); // the menu item, then a button of the about box
        QTest::newRow("Form1") << "Form1"
                               << "";
        QTest::newRow("frmIntro") << "frmIntro"
                                  << "";
        QTest::newRow("Form2") << "Form2"
                               << "para";
        QTest::newRow("Form3 enter") << "Form3"
                                     << "ent_pt";
        QTest::newRow("Form3 modify") << "Form3"
                                      << "mod_pt";
        QTest::newRow("Form3 search") << "Form3"
                                      << "rech";
        QTest::newRow("Form5") << "Form5"
                               << "MnuImmatriculation";
        QTest::newRow("FormatDonnee") << "FormatDonnee"
                                      << "Mnu_Format";
        QTest::newRow("frmVisualisation") << "frmVisualisation"
                                          << "view";
        QTest::newRow("frmAide") << "frmAide"
                                 << "help";
        QTest::newRow("Form4") << "Form4"
                               << "apropos";
        QTest::newRow("frmHistorique") << "frmHistorique"
                                       << "apropos Command2";
        QTest::newRow("frmMail") << "frmMail"
                                 << "EnvMail";
        QTest::newRow("Form6") << "Form6"
                               << "print";
    }
    void captionsFit() {
        QFETCH(QString, name);
        QFETCH(QString, opens);
        ProgramFixture f;
        frmIntro splash([] {});
        splash.show();
        const QStringList steps = opens.split(u' ', Qt::SkipEmptyParts);
        if (!steps.isEmpty())
            f.window.menuItem(steps[0])->trigger();
        if (steps.size() > 1)
            child<QPushButton>(f.topLevel(QStringLiteral("Form4")), qPrintable(steps[1]))->click();
        QWidget* window = f.topLevel(name);
        QVERIFY2(window, qPrintable(name));
        const QStringList cut = cutCaptions(window);
        QVERIFY2(cut.isEmpty(), qPrintable(cut.join(u'\n')));
    }
};

TOVALIN_TEST(CaptionsTest)
#include "tst_Captions.moc"
