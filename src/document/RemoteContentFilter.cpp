#include "RemoteContentFilter.h"

#include "base/Preferences.h"

#include <QUrl>

namespace Lumo::Document {

using Lumo::Base::Preferences;

namespace {

bool forbidden = false;

bool isRemote(const QUrl &url)
{
    static const QStringList network{QStringLiteral("http"), QStringLiteral("https"),
                                     QStringLiteral("ftp"), QStringLiteral("ws"),
                                     QStringLiteral("wss")};
    return network.contains(url.scheme().toLower());
}

} // namespace

void RemoteContentFilter::forbidAll()
{
    forbidden = true;
}

void RemoteContentFilter::interceptRequest(QWebEngineUrlRequestInfo &info)
{
    if ((forbidden || !Preferences::shared().loadRemoteImages()) && isRemote(info.requestUrl()))
        info.block(true);
}

} // namespace Lumo::Document
