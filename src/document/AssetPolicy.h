#pragma once

#include <optional>
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <variant>

class QUrl;

// Which local files the reading page may show and an export may embed: one rule for
// both. A request names an absolute path whose extension is an image, audio or video
// type and holds no control character; the file it resolves to (links followed) must
// be a regular file inside one of the allowed folders, no larger than the bound, whose
// bytes are really an image, audio or video. Everything else is refused.
//
// requestedPath is pure; roots and read touch the disk and may block on a slow file
// system: call them off the GUI thread. All functions are thread-safe.
namespace Lumo::Document::AssetPolicy {

// Embedded files (data URLs in an export or on the clipboard) and files served to the
// page are read whole, so both are bounded.
inline constexpr qint64 embedLimit = 32 * 1024 * 1024;
inline constexpr qint64 serveLimit = 256 * 1024 * 1024;

// The standardised path a request names, or nothing when its form is refused.
std::optional<QString> requestedPath(const QUrl &url);

// The folders a document's assets may live in, links resolved: its own folder and
// the folder the user opened around it (empty when none).
QStringList roots(const QString &documentPath, const QString &openedFolder);

// Whether a resolved path lies in one of the resolved folders (or is one of them).
bool isInside(const QString &path, const QStringList &roots);

struct Asset
{
    QByteArray data;
    QByteArray mimeType;
};

struct Refusal
{
    QString reason;
};

// The file's bytes and their real type, or why it is refused.
std::variant<Asset, Refusal> read(const QString &path, const QStringList &roots, qint64 limit);

// "data:<type>;base64,<bytes>" for an asset.
QString dataUrl(const Asset &asset);

} // namespace Lumo::Document::AssetPolicy
