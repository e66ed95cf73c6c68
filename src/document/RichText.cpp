#include "RichText.h"

#include <QMimeData>
#include <QTextDocument>

namespace Lumo::Document::RichText {

QString plainText(const QString &html)
{
    QTextDocument document;
    document.setHtml(html);
    // Pictures stand in the text as object-replacement characters; plain text has none.
    return document.toPlainText().remove(QChar::ObjectReplacementCharacter).trimmed();
}

QMimeData *mimeData(const QString &html)
{
    auto *data = new QMimeData;
    // Without the charset, some receivers read the bytes as Latin-1.
    data->setHtml(QStringLiteral("<meta charset=\"utf-8\">") + html);
    data->setText(plainText(html));
    return data;
}

} // namespace Lumo::Document::RichText
