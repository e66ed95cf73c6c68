#include "OpenDocument.h"

#include "LineEndings.h"

#include <algorithm>
#include <QCoreApplication>
#include <QFileInfo>

namespace Lumo::Document {

OpenDocument::OpenDocument(const QString &text, QObject *parent)
    : QObject(parent)
    , m_document{text, TextEncoding::utf8()}
    , m_savedText(text)
{}

OpenDocument::OpenDocument(const MarkdownDocument &document, const QString &path, QObject *parent)
    : QObject(parent)
    , m_document(document)
    , m_savedText(document.text)
    , m_path(path)
{}

OpenDocument *OpenDocument::open(const QString &path, QString *error, QObject *parent)
{
    const auto document = MarkdownDocument::read(path, error);
    if (!document)
        return nullptr;
    return new OpenDocument(*document, QFileInfo(path).absoluteFilePath(), parent);
}

QString OpenDocument::displayName() const
{
    return m_path.isEmpty() ? QCoreApplication::translate("OpenDocument", "Untitled")
                            : QFileInfo(m_path).fileName();
}

void OpenDocument::setText(const QString &text)
{
    if (text == m_document.text)
        return;
    m_document.text = text;
    setModified(text != m_savedText);
    Q_EMIT textChanged();
}

void OpenDocument::setLineFeedText(const QString &text)
{
    setText(LineEndings::applyEdit(m_document.text, text));
}

bool OpenDocument::applyLineFeedEdit(const QString &text, qint64 position, qint64 removed,
                                     qint64 inserted)
{
    QString &current = m_document.text;
    const bool fits = position >= 0 && removed >= 0 && inserted >= 0 &&
                      position + removed <= current.size() &&
                      current.size() - removed + inserted == text.size();
    // A few characters either side of the edit must agree, as a guard against texts
    // that went apart.
    const auto sameAround = [&] {
        const qint64 before = std::min<qint64>(position, 32);
        const qint64 after = std::min<qint64>(current.size() - position - removed, 32);
        return QStringView(current).mid(position - before, before) ==
                   QStringView(text).mid(position - before, before) &&
               QStringView(current).mid(position + removed, after) ==
                   QStringView(text).mid(position + inserted, after);
    };
    if (!fits || !sameAround() || current.contains(u'\r')) {
        setLineFeedText(text);
        return LineEndings::toLineFeeds(m_document.text) == text;
    }
    if (removed == 0 && inserted == 0)
        return true;
    current.replace(position, removed, text.constData() + position, inserted);
    setModified(current != m_savedText);
    Q_EMIT textChanged();
    return true;
}

bool OpenDocument::save(QString *error)
{
    if (m_path.isEmpty())
        return false;
    if (!m_document.write(m_path, error))
        return false;
    m_savedText = m_document.text;
    setModified(false);
    Q_EMIT saved();
    return true;
}

bool OpenDocument::saveAs(const QString &path, QString *error)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (!m_document.write(absolute, error))
        return false;
    m_savedText = m_document.text;
    if (absolute != m_path) {
        m_path = absolute;
        Q_EMIT pathChanged(m_path);
    }
    setModified(false);
    Q_EMIT saved();
    return true;
}

void OpenDocument::revertTo(const MarkdownDocument &document)
{
    const bool changed = document.text != m_document.text;
    m_document = document;
    m_savedText = document.text;
    setModified(false);
    if (changed) {
        Q_EMIT textChanged();
        Q_EMIT reverted();
    }
}

bool OpenDocument::revert(QString *error)
{
    if (m_path.isEmpty())
        return false;
    const auto document = MarkdownDocument::read(m_path, error);
    if (!document)
        return false;
    revertTo(*document);
    return true;
}

void OpenDocument::setModified(bool modified)
{
    if (modified == m_modified)
        return;
    m_modified = modified;
    Q_EMIT modifiedChanged(modified);
}

} // namespace Lumo::Document
