#include "CustomCSS.h"

#include "base/Preferences.h"
#include "FileWatcher.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QUrl>

namespace Lumo::Document {

using Lumo::Base::Preferences;

CustomCSS::CustomCSS(const QString &path, QObject *parent)
    : QObject(parent)
    , m_path(path)
{
    if (QFileInfo::exists(m_path)) {
        readFile();
        m_watcher = new FileWatcher([this] { reload(); }, this);
        m_watcher->watch(m_path);
    }
}

CustomCSS &CustomCSS::shared()
{
    static CustomCSS *instance = new CustomCSS(defaultPath());
    return *instance;
}

QString CustomCSS::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Lumo/custom.css");
}

QByteArray CustomCSS::templateText()
{
    return QByteArrayLiteral(
        "/* Lumo custom CSS. Saved changes apply instantly to every open window.\n"
        "   Variables you can override (light, then dark):\n"
        "\n"
        "   html      { --bg: #fff; --fg: #1d1d1f; --muted: #6e6e73; --link: #0066cc; }\n"
        "   html.dark { --bg: #1c1c1e; --fg: #e8e8ed; }\n"
        "\n"
        "   Also: --subtle, --border, --border-strong, --mark, --note, --tip, --important,\n"
        "   --warning, --caution, --body-font, --mono-font, --base-size, --line-height, "
        "--measure.\n"
        "   The page structure is: html > body > main.markdown > (h1, p, pre, table, ...);\n"
        "   a document of over 600 lines has its blocks in chunks: main.markdown > lumo-chunk >\n"
        "   (h1, p, ...). For both, write main.markdown > h1, main.markdown > lumo-chunk > h1.\n"
        "   Its footnotes stand in runs: .footnotes-list > lumo-notes > li; write "
        ".footnotes-list li. */\n");
}

void CustomCSS::readFile()
{
    m_text.clear();
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray bytes = file.readAll();
    QStringDecoder decoder(QStringDecoder::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (!decoder.hasError())
        m_text = text;
}

void CustomCSS::reload()
{
    readFile();
    QMetaObject::invokeMethod(this, &CustomCSS::changed, Qt::QueuedConnection);
}

void CustomCSS::openForEditing(Preferences &preferences)
{
    if (!QFileInfo::exists(m_path)) {
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        QSaveFile file(m_path);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(templateText());
            file.commit();
        }
        if (!m_watcher)
            m_watcher = new FileWatcher([this] { reload(); }, this);
        m_watcher->watch(m_path);
        reload();
    }
    preferences.setUseCustomCSS(true);
    QDesktopServices::openUrl(QUrl::fromLocalFile(m_path));
}

} // namespace Lumo::Document
