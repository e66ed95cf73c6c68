#pragma once

#include "document/PageConnection.h"

#include <QJsonObject>
#include <QStringList>

// A reading page without a web engine: it keeps the scripts it is sent and says
// what a test makes it say.
class FakePage final : public Lumo::Document::PageConnection
{
public:
    using Lumo::Document::PageConnection::PageConnection;

    void load() override { ++loads; }
    void call(const QString &script) override { scripts.append(script); }
    void callAwaited(const QString &name, const QString &, Reply done) override
    {
        awaited.append(name);
        done(QJsonValue(), QStringLiteral("a fake page answers nothing"));
    }
    bool hasGivenUp() const override { return givenUp; }

    void say(const QJsonObject &message) { Q_EMIT messageReceived(message); }
    void sayReady() { say({{QStringLiteral("type"), QStringLiteral("ready")}}); }
    void sayRendered(qint64 revision)
    {
        say({{QStringLiteral("type"), QStringLiteral("rendered")},
             {QStringLiteral("rev"), revision}});
    }
    // The renderer died for good.
    void giveUp()
    {
        givenUp = true;
        Q_EMIT lost();
        Q_EMIT gaveUp();
    }
    // The scripts that render the text (whole, or an edit of the last one).
    QStringList renders() const
    {
        QStringList found;
        for (const QString &script : scripts) {
            if (script.startsWith(QLatin1String("mv.render")))
                found.append(script);
        }
        return found;
    }

    int loads = 0;
    bool givenUp = false;
    QStringList scripts;
    QStringList awaited;
};
