#include "MarkdownEditing.h"

#include <limits>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QUrl>

namespace Lumo::Editor::MarkdownEditing {

namespace {

const QRegularExpression &listItem()
{
    // Indentation, bullet or number and delimiter, the blanks after it, a task box.
    static const QRegularExpression expression(
        QStringLiteral(R"(^(\s*)(?:([-*+])|(\d+)([.)]))(\s+)(\[[ xX]\]\s+)?)"),
        QRegularExpression::UseUnicodePropertiesOption);
    return expression;
}

const QRegularExpression &quote()
{
    static const QRegularExpression expression(QStringLiteral(R"(^(\s*(?:>\s?)+))"),
                                               QRegularExpression::UseUnicodePropertiesOption);
    return expression;
}

struct Line
{
    qsizetype start = 0;
    qsizetype length = 0; // without the line feed
};

Line lineAt(const QString &text, qsizetype position)
{
    const qsizetype start = position == 0 ? 0 : text.lastIndexOf(u'\n', position - 1) + 1;
    qsizetype end = text.indexOf(u'\n', position);
    if (end < 0)
        end = text.size();
    return {start, end - start};
}

QString trimmedBlanks(QStringView text)
{
    qsizetype from = 0;
    qsizetype to = text.size();
    while (from < to && (text[from] == u' ' || text[from] == u'\t'))
        ++from;
    while (to > from && (text[to - 1] == u' ' || text[to - 1] == u'\t'))
        --to;
    return text.mid(from, to - from).toString();
}

} // namespace

std::optional<TextChange> continueList(const QString &text, Selection selection)
{
    if (selection.length != 0)
        return std::nullopt;
    const qsizetype caret = selection.location;
    const Line line = lineAt(text, caret);
    const QString content = text.mid(line.start, line.length);

    QString prefix;
    qsizetype markerLength = 0;
    if (const QRegularExpressionMatch item = listItem().match(content); item.hasMatch()) {
        prefix = item.captured(1);
        if (item.capturedLength(2) > 0) {
            prefix += item.captured(2);
        } else {
            bool ok = false;
            const qint64 number = item.captured(3).toLongLong(&ok);
            // Too long to be a number: the list starts again at 1.
            const qint64 next = ok && number < std::numeric_limits<qint64>::max() ? number + 1 : 1;
            prefix += QString::number(next) + item.captured(4);
        }
        prefix += item.captured(5);
        if (item.capturedLength(6) > 0)
            prefix += QStringLiteral("[ ] ");
        markerLength = item.capturedLength(0);
    } else if (const QRegularExpressionMatch quoted = quote().match(content); quoted.hasMatch()) {
        prefix = quoted.captured(1);
        markerLength = quoted.capturedLength(1);
    } else {
        return std::nullopt;
    }

    if (caret - line.start < markerLength)
        return std::nullopt;
    if (trimmedBlanks(QStringView(content).mid(markerLength)).isEmpty())
        return TextChange{line.start, line.length, QStringLiteral("\n"), line.start + 1, 0};
    const QString inserted = QLatin1Char('\n') + prefix;
    return TextChange{caret, 0, inserted, caret + inserted.size(), 0};
}

std::optional<TextChange> indentListItem(const QString &text, Selection selection, bool outdent)
{
    const Line line = lineAt(text, selection.location);
    if (!listItem().match(text.mid(line.start, line.length)).hasMatch())
        return std::nullopt;
    if (!outdent)
        return TextChange{line.start, 0, QStringLiteral("  "), selection.location + 2,
                          selection.length};
    qsizetype spaces = 0;
    while (spaces < 2 && spaces < line.length && text.at(line.start + spaces) == u' ')
        ++spaces;
    // Both ends move back with the removed spaces, but not before the line.
    const auto moved = [&](qsizetype position) { return std::max(position - spaces, line.start); };
    const qsizetype start = moved(selection.location);
    return TextChange{line.start, spaces, QString(), start,
                      moved(selection.location + selection.length) - start};
}

TextChange toggleWrap(const QString &text, Selection selection, const QString &marker)
{
    const qsizetype p = selection.location;
    const qsizetype n = selection.length;
    const qsizetype m = marker.size();
    const QString selected = text.mid(p, n);
    if (p >= m && p + n + m <= text.size() && QStringView(text).mid(p - m, m) == marker &&
        QStringView(text).mid(p + n, m) == marker)
        return {p - m, n + 2 * m, selected, p - m, n};
    if (n >= 2 * m && selected.startsWith(marker) && selected.endsWith(marker))
        return {p, n, selected.mid(m, n - 2 * m), p, n - 2 * m};
    return {p, n, marker + selected + marker, p + m, n};
}

TextChange insertLink(const QString &text, Selection selection)
{
    const qsizetype p = selection.location;
    const QString selected = text.mid(p, selection.length);
    const QUrl url(selected, QUrl::StrictMode);
    if (url.isValid() && url.scheme().startsWith(QLatin1String("http")))
        return {p, selection.length, QStringLiteral("[](") + selected + u')', p + 1, 0};
    const QString link = u'[' + selected + QStringLiteral("]()");
    return {p, selection.length, link, p + link.size() - 1, 0};
}

std::optional<QString> toggledTask(const QString &text, int line, bool checked)
{
    // A list item, inside any depth of quotation, whose box is group 2.
    static const QRegularExpression task(
        QStringLiteral(R"(^((?:[ \t]*>)*[ \t]*(?:[-*+]|\d{1,9}[.)])[ \t]+\[)([ xX])(\]))"),
        QRegularExpression::UseUnicodePropertiesOption);
    QStringList lines = text.split(QLatin1Char('\n'));
    if (line < 0 || line >= lines.size())
        return std::nullopt;
    const QRegularExpressionMatch match = task.match(lines.at(line));
    if (!match.hasMatch())
        return std::nullopt;
    lines[line].replace(match.capturedStart(2), 1, checked ? QLatin1Char('x') : QLatin1Char(' '));
    return lines.join(QLatin1Char('\n'));
}

QString imageLink(const QString &path, const QString &alt)
{
    const QString target = path.contains(u' ') ? u'<' + path + u'>' : path;
    return QStringLiteral("![") + alt + QStringLiteral("](") + target + u')';
}

std::optional<QString> saveAsset(const QByteArray &data, const QString &extension,
                                 const QString &documentPath, const QDateTime &now)
{
    const QFileInfo document(documentPath);
    const QString folder = document.dir().filePath(QStringLiteral("assets"));
    if (!QDir().mkpath(folder))
        return std::nullopt;
    const QString name = document.completeBaseName().replace(u' ', u'-') + u'-' +
                         now.toString(QStringLiteral("yyyy-MM-ddTHHmmss")) + u'.' +
                         (extension.isEmpty() ? QStringLiteral("png") : extension);
    const QString target = QDir(folder).filePath(name);
    if (QFileInfo::exists(target))
        return std::nullopt;
    // Written whole under a temporary name first, then moved into place; the move
    // refuses to replace a file that appeared meanwhile.
    QTemporaryFile file(QDir(folder).filePath(QStringLiteral(".paste-XXXXXX")));
    if (!file.open() || file.write(data) != data.size() || !file.flush())
        return std::nullopt;
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    file.setAutoRemove(false);
    if (!file.rename(target)) {
        file.remove();
        return std::nullopt;
    }
    return QStringLiteral("assets/") + name;
}

} // namespace Lumo::Editor::MarkdownEditing
