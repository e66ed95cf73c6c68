#pragma once

#include <QObject>
#include <QString>

namespace Lumo::Base {
class Preferences;
}

namespace Lumo::Document {

class FileWatcher;

// The user's stylesheet for every reading page, ~/.local/share/Lumo/custom.css. Keeps
// the file's text (empty when it is missing or not UTF-8), watches it, and announces
// every change so a saved edit restyles every open window. Main thread only.
class CustomCSS final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CustomCSS)

public:
    explicit CustomCSS(const QString &path, QObject *parent = nullptr);

    // The application's stylesheet, created on first use.
    static CustomCSS &shared();
    static QString defaultPath();

    // What a new stylesheet holds: a comment naming the variables a rule may set.
    static QByteArray templateText();

    QString path() const { return m_path; }
    QString text() const { return m_text; }

    // Re-reads the file, then announces the change.
    void reload();
    // Creates the file from the template when there is none, switches the stylesheet
    // on, and opens the file in the user's editor for CSS.
    void openForEditing(Lumo::Base::Preferences &preferences);

Q_SIGNALS:
    // Always delivered through the event loop, after text() changed.
    void changed();

private:
    void readFile();

    QString m_path;
    QString m_text;
    FileWatcher *m_watcher = nullptr;
};

} // namespace Lumo::Document
