#pragma once

#include <memory>
#include <QFutureWatcher>
#include <QPromise>
#include <QThreadPool>

namespace Lumo::Base {

// Runs work() on the global thread pool and then done(result) on context's thread,
// unless context has been destroyed by then (the result is dropped).
template <typename Work, typename Done> void runInBackground(QObject *context, Work work, Done done)
{
    using Result = std::invoke_result_t<Work>;
    auto promise = std::make_shared<QPromise<Result>>();
    auto *watcher = new QFutureWatcher<Result>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, context,
                     [watcher, done = std::move(done)]() mutable {
                         watcher->deleteLater();
                         if (watcher->future().resultCount() > 0)
                             done(watcher->future().takeResult());
                     });
    watcher->setFuture(promise->future());
    promise->start();
    QThreadPool::globalInstance()->start([promise, work = std::move(work)]() mutable {
        promise->addResult(work());
        promise->finish();
    });
}

} // namespace Lumo::Base
