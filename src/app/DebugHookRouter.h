#pragma once

#include <functional>
#include <QObject>

namespace Lumo::App {

class DocumentWindow;

// Carries out the diagnostic hooks ("lumo --post NAME [ARG]", see DebugHooks): each
// hook acts once, on the active window's current tab (or the window, or the
// application), however many tabs are open; only "jsEveryPage" runs its script in
// every open page. Hooks for a tab do nothing without one.
//
// Main thread only.
class DebugHookRouter final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DebugHookRouter)

public:
    // activeWindow names the window hooks act on; it may return null.
    explicit DebugHookRouter(std::function<DocumentWindow *()> activeWindow,
                             QObject *parent = nullptr);

Q_SIGNALS:
    // "lumoapp.debug.openURL": open the file as the desktop would, and print how that went.
    void openRequested(const QString &path);

private:
    void route(const QString &name, const QString &argument);

    std::function<DocumentWindow *()> m_activeWindow;
};

} // namespace Lumo::App
