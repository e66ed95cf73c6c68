#include "MarkdownEditing.h"

#include <QRegularExpression>

namespace MarkdownEditing {

std::optional<QString> toggledTask(const QString &text, int line, bool checked)
{
    // A list item, inside any depth of quotation, whose box is group 2.
    static const QRegularExpression task(
        QStringLiteral(R"(^((?:[ \t]*>)*[ \t]*(?:[-*+]|\d{1,9}[.)])[ \t]+\[)([ xX])(\]))"));
    QStringList lines = text.split(QLatin1Char('\n'));
    if (line < 0 || line >= lines.size())
        return std::nullopt;
    const QRegularExpressionMatch match = task.match(lines.at(line));
    if (!match.hasMatch())
        return std::nullopt;
    lines[line].replace(match.capturedStart(2), 1, checked ? QLatin1Char('x') : QLatin1Char(' '));
    return lines.join(QLatin1Char('\n'));
}

} // namespace MarkdownEditing
