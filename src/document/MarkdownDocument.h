#pragma once

#include "TextEncoding.h"

#include <optional>
#include <QString>
#include <QStringList>

namespace Lumo::Document {

// The text of one Markdown file and the encoding it came in. A new, untitled
// document is empty UTF-8 without a mark. Line endings are kept as they are.
struct MarkdownDocument
{
    QString text;
    TextEncoding encoding = TextEncoding::utf8();

    // Readable and writable content types, in order of preference.
    static QStringList contentTypes();

    // Reads a regular file. Fails with a message for the user when the path is a
    // folder or anything else without regular contents, or cannot be read; never
    // for the bytes it holds.
    static std::optional<MarkdownDocument> read(const QString &path, QString *error = nullptr);

    // The bytes a save writes: the text in its encoding, with its mark.
    QByteArray data() const { return encoding.encode(text); }

    // Replaces the file atomically, keeping its permissions (and writing through a
    // symbolic link to its target). The old contents survive any failure.
    bool write(const QString &path, QString *error = nullptr) const;
};

} // namespace Lumo::Document
