#pragma once

#include "document/PreviewPage.h"
#include "document/WebEngineSetup.h"
#include "EventLoop.h"

#include <cstdio>
#include <QApplication>
#include <QJsonObject>
#include <QWebEngineView>

// The reading page in an offscreen web view of a fixed size, for the benchmarks that
// time it. prepare() comes before the QApplication, the page after it.
class BenchPage
{
public:
    static void prepare()
    {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        Lumo::Document::WebEngineSetup::prepare();
    }

    BenchPage()
        : m_page(new Lumo::Document::PreviewPage(&m_view))
    {
        m_view.setPage(m_page);
        m_view.resize(900, 1000);
        m_view.show();
        // A script error can stop a render for good: without this the benchmark only waits.
        QObject::connect(
            m_page, &Lumo::Document::PreviewPage::messageReceived, [](const QJsonObject &message) {
                if (message.value(QLatin1String("type")) == QLatin1String("error"))
                    std::fprintf(
                        stderr, "page error: %s\n",
                        qUtf8Printable(message.value(QLatin1String("message")).toString()));
            });
    }

    // Waits for the page's "ready"; false, with a message on stderr, when it never comes.
    bool load()
    {
        bool ready = false;
        QObject::connect(m_page, &Lumo::Document::PreviewPage::messageReceived,
                         [&](const QJsonObject &message) {
                             if (message.value(QLatin1String("type")) == QLatin1String("ready"))
                                 ready = true;
                         });
        m_page->loadIndex();
        if (runUntil([&] { return ready; }, 30000))
            return true;
        std::fputs("the page did not load\n", stderr);
        return false;
    }

    Lumo::Document::PreviewPage *page() const { return m_page; }

private:
    QWebEngineView m_view;
    Lumo::Document::PreviewPage *m_page;
};
