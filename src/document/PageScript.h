#pragma once

#include "TextSplice.h"

#include <optional>
#include <QString>
#include <QStringList>

// The scripts the native side evaluates in the reading page. Strings always go in
// as JSON string literals and numbers in their shortest decimal form, so no text
// of a document can break out of its argument.
namespace Lumo::Document::PageScript {

// A JSON string literal, quotes included; "\"\"" if the text cannot be serialised.
QString json(const QString &text);
// Shortest decimal form: 1 for 1.0, 0.7 for 0.7.
QString number(double value);

// A long text goes in parts of `partSize`, each in a script of its own: the page
// compiles every script in one task, and one carrying 10 MB took about 90 ms.
inline constexpr qsizetype renderPartSize = 1 << 20;
QStringList render(const QString &text, const std::optional<QString> &base, bool diff,
                   qint64 revision, qsizetype partSize = renderPartSize);
// Renders the text of revision `from` with one run replaced: only the run crosses
// to the page. The page asks for the whole text ("resync") when it does not hold
// that revision, or the result is not `length` long.
QString renderEdit(qint64 from, const TextSplice &splice, qsizetype length,
                   const std::optional<QString> &base, bool diff, qint64 revision);
QString setFollowChanges(bool on);
QString setPrefs(double scale, const QString &font, const QString &width, const QString &theme);
QString setCustomCSS(const QString &css);
QString setWindowAppearance(bool dark);
QString scrollToLine(double line);
QString scrollToId(const QString &id);
// Runs mv[name](...arguments) and has the page post its result as a "reply" message
// carrying the request id. argumentsJs is a comma-separated list of JS values.
QString awaitedCall(qint64 requestId, const QString &name, const QString &argumentsJs);

} // namespace Lumo::Document::PageScript
