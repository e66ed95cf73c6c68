#pragma once

#include <functional>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

// Runs the event loop until done() holds or the timeout passes. Unlike QTest::qWaitFor,
// it never sleeps between events, which would starve the web engine's scheduling and
// inflate every figure.
inline bool runUntil(const std::function<bool()> &done, int timeoutMilliseconds)
{
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    QTimer::singleShot(timeoutMilliseconds, &loop, &QEventLoop::quit);
    check.start(1);
    if (!done())
        loop.exec();
    return done();
}
