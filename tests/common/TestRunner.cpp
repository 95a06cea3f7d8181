#include "TestRunner.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

namespace testing {

std::vector<TestFactory>& registeredTests() {
    static std::vector<TestFactory> tests;
    return tests;
}

} // namespace testing

// Runs every registered class. The settings store points at a fresh
// temporary folder so tests never touch the user's settings; each test sets
// its regional format itself.
int main(int argc, char** argv) {
    QTemporaryDir configHome;
    qputenv("XDG_CONFIG_HOME", configHome.path().toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    app.setAttribute(Qt::AA_Use96Dpi, true);

    // "-functions" style options are passed to every class; a class name as
    // first argument runs only that class.
    QStringList args = app.arguments();
    QString only;
    if (args.size() > 1 && !args.at(1).startsWith(QLatin1Char('-'))) {
        only = args.takeAt(1);
    }
    int failures = 0;
    for (const auto& factory : testing::registeredTests()) {
        std::unique_ptr<QObject> test = factory();
        if (!only.isEmpty() && only != QLatin1String(test->metaObject()->className()))
            continue;
        failures += QTest::qExec(test.get(), args);
    }
    return failures == 0 ? 0 : 1;
}
