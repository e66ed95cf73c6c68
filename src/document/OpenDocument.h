#pragma once

#include "MarkdownDocument.h"

#include <QObject>

namespace Lumo::Document {

// One document as a tab holds it: the text being read or edited, the encoding it is
// saved in, its file (none while untitled) and whether it has unsaved edits.
// Main thread only.
class OpenDocument final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OpenDocument)

public:
    // A new, untitled document, optionally with text (what a tool piped in: nothing
    // to save until it is edited).
    explicit OpenDocument(const QString &text = {}, QObject *parent = nullptr);
    OpenDocument(const MarkdownDocument &document, const QString &path, QObject *parent = nullptr);

    // Reads the file at path; nothing, with a message in error, when it cannot.
    static OpenDocument *open(const QString &path, QString *error, QObject *parent = nullptr);

    QString path() const { return m_path; }
    bool isUntitled() const { return m_path.isEmpty(); }
    // The file name, or "Untitled".
    QString displayName() const;
    QString text() const { return m_document.text; }
    TextEncoding encoding() const { return m_document.encoding; }
    bool isModified() const { return m_modified; }
    // Whether another file may take this document's place in its tab: nothing would
    // be lost, so neither unsaved edits nor an untitled document holding text.
    bool canBeReplaced() const { return !m_modified && !(isUntitled() && !text().isEmpty()); }

    // An edit of the text; editing back to the saved text is no longer modified.
    void setText(const QString &text);
    // An edit made where every line ends in a line feed (the editor): the lines it
    // reached take the document's line-ending style, the others keep theirs.
    void setLineFeedText(const QString &text);
    // The same, told where the edit was: `removed` characters at `position` of the
    // text before became text[position, position + inserted). A text that ends all its
    // lines in line feeds takes just that change, however long it is. False when the
    // text then differs from the given one in more than its line endings.
    bool applyLineFeedEdit(const QString &text, qint64 position, qint64 removed, qint64 inserted);

    bool save(QString *error = nullptr);
    bool saveAs(const QString &path, QString *error = nullptr);
    // Takes contents read from the file, dropping unsaved edits.
    void revertTo(const MarkdownDocument &document);
    // Reads the file again and takes its contents.
    bool revert(QString *error = nullptr);

Q_SIGNALS:
    void textChanged();
    // The text was replaced from the file (revert or reload), not edited.
    void reverted();
    void modifiedChanged(bool modified);
    // The text was written to the file (save or save as).
    void saved();
    void pathChanged(const QString &path);

private:
    void setModified(bool modified);

    MarkdownDocument m_document;
    // The text as last read or saved.
    QString m_savedText;
    QString m_path;
    bool m_modified = false;
};

} // namespace Lumo::Document
