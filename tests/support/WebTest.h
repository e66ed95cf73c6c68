#pragma once

#include "document/PreviewPage.h"
#include "document/WebEngineSetup.h"
#include "support/LumoHome.h"

#include <QApplication>
#include <QJsonValue>
#include <QSignalSpy>
#include <QTest>
#include <QWebEnginePage>

// Helpers for tests that drive a real reading page offscreen.
namespace WebTest {

// Evaluates an expression in the page's main world and waits for its value.
inline QVariant evaluate(QWebEnginePage *page, const QString &script)
{
    QVariant result;
    bool done = false;
    page->runJavaScript(script, [&](const QVariant &value) {
        result = value;
        done = true;
    });
    if (!QTest::qWaitFor([&] { return done; }, 10000))
        qWarning("script did not answer: %s", qPrintable(script));
    return result;
}

// Waits for the page to send a message of the given type; returns it.
inline QJsonObject waitForMessage(Lumo::Document::PreviewPage *page, const QString &type,
                                  int timeout = 20000)
{
    QJsonObject found;
    auto connection = QObject::connect(
        page, &Lumo::Document::PreviewPage::messageReceived, [&](const QJsonObject &message) {
            if (found.isEmpty() && message.value(QLatin1String("type")).toString() == type)
                found = message;
        });
    (void)QTest::qWaitFor([&] { return !found.isEmpty(); }, timeout);
    QObject::disconnect(connection);
    return found;
}

} // namespace WebTest

// main() for web tests: the asset scheme is declared before the application exists,
// and settings and data go to a temporary home, never the user's.
#define LUMO_WEB_TEST_MAIN(TestClass)                                                              \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const LumoHome home;                                                                       \
        home.useForThisProcess();                                                                  \
        WebEngineSetup::prepare();                                                                 \
        QApplication app(argc, argv);                                                              \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
