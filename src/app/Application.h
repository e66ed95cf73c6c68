#pragma once

#include <QJsonObject>
#include <QObject>
#include <QPointer>

namespace Lumo::Document {
class OpenDocument;
}

namespace Lumo::App {

class DocumentWindow;

// The running Lumo: its document windows and the open requests that reach it from
// its own command line, later launches, the desktop and the diagnostic hooks.
// Main thread only.
class Application : public QObject
{
    Q_OBJECT

public:
    explicit Application(QObject *parent = nullptr);

    // An open request as "lumo" builds it from its arguments (see SingleInstance).
    // With nothing to open it opens a new untitled document, or on the very first
    // launch the welcome document.
    void handleRequest(const QJsonObject &request);
    // Opens each file in a tab of the window (the last active one when none is
    // given), raising the tab that already shows it. Returns how many opened.
    int openFiles(const QStringList &paths, DocumentWindow *window = nullptr);
    void newDocument(const QString &text = {}, DocumentWindow *window = nullptr);
    // Opens a folder for browsing (see FolderOpener::open); its first file opens in
    // the window (the last active one when none is given).
    void openFolder(const QString &path, DocumentWindow *window = nullptr);
    DocumentWindow *newWindow();
    // Closes every window, asking about unsaved edits; quits when all closed.
    void quit();

    QList<DocumentWindow *> windows() const;

private:
    DocumentWindow *targetWindow(DocumentWindow *window);
    bool openFile(const QString &path, DocumentWindow *window, QString *error);
    void showOpenError(const QString &message, DocumentWindow *window);
    void attach(DocumentWindow *window);

    QList<QPointer<DocumentWindow>> m_windows;
    QPointer<DocumentWindow> m_lastActive;
};

} // namespace Lumo::App
