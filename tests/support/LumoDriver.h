#pragma once

#include "support/LumoHome.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

// Drives the real lumo in a fresh temporary home, as a user's shell would: starts it,
// runs later launches and hooks, and reads back what its pages and window say. An
// end-to-end test derives from it beside QObject and calls fresh() and stop() from
// its init() and cleanup().
class LumoDriver
{
protected:
    explicit LumoDriver(QProcessEnvironment extra)
        : m_extra(std::move(extra))
    {}
    ~LumoDriver() { stop(); }

    void fresh()
    {
        m_home = std::make_unique<LumoHome>();
        QVERIFY(m_home->isValid());
        m_output.clear();
    }

    void stop()
    {
        if (!m_lumo)
            return;
        m_lumo->kill();
        m_lumo->waitForFinished(5000);
        m_lumo.reset();
    }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = m_home->environment();
        env.insert(m_extra);
        return env;
    }

    // Starts lumo with these settings lines; ready once its socket answers.
    void startLumo(const QStringList &arguments, const QByteArray &settings)
    {
        QVERIFY(m_home->writeSettings(settings));
        m_lumo = std::make_unique<QProcess>();
        m_lumo->setProcessEnvironment(environment());
        QObject::connect(m_lumo.get(), &QProcess::readyReadStandardOutput, m_lumo.get(),
                         [this] { m_output += m_lumo->readAllStandardOutput(); });
        m_lumo->start(QStringLiteral(LUMO_BINARY), arguments);
        QVERIFY(m_lumo->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_home->socketPath()), 20000);
    }

    // Runs a short-lived lumo (a later launch or --post) to completion.
    int run(const QStringList &arguments, const QByteArray &input = {},
            QByteArray *errors = nullptr, const QString &program = QStringLiteral(LUMO_BINARY))
    {
        return LumoHome::run(environment(), program, arguments, input, errors);
    }

    QString fixture(const QString &name, const QByteArray &bytes)
    {
        return m_home->fixture(name, bytes);
    }

    // What the expression gives in every open page, sorted, each on one line.
    QStringList probe(const QString &expression)
    {
        const QString tag = QStringLiteral("probe%1").arg(++m_probes);
        run({QStringLiteral("--post"), QStringLiteral("lumoapp.debug.jsEveryPage"),
             QStringLiteral("console.error('%1:' + String(%2).replace(/\\n/g, ' '))")
                 .arg(tag, expression)});
        QStringList found;
        const QString prefix = QStringLiteral("Lumo JS error: %1:").arg(tag);
        const auto collect = [&] {
            found.clear();
            for (const QByteArray &line : m_output.split('\n')) {
                const QString text = QString::fromUtf8(line);
                if (text.startsWith(prefix))
                    found.append(text.mid(prefix.size()).section(QStringLiteral(" ("), 0, 0));
            }
            return !found.isEmpty();
        };
        // Every page answers; the first answer gives the others a moment.
        if (QTest::qWaitFor(collect, 10000))
            QTest::qWait(300);
        collect();
        found.sort();
        return found;
    }

    // The window's state from the "lumoapp.debug.state" hook.
    QJsonObject state()
    {
        const qsizetype from = m_output.size();
        run({QStringLiteral("--post"), QStringLiteral("lumoapp.debug.state")});
        static const QByteArray prefix = "Lumo debug state: ";
        QJsonObject found;
        (void)QTest::qWaitFor(
            [&] {
                const qsizetype at = m_output.lastIndexOf(prefix);
                const qsizetype end = at < from ? -1 : m_output.indexOf('\n', at);
                if (end < 0)
                    return false;
                found = QJsonDocument::fromJson(
                            m_output.mid(at + prefix.size(), end - at - prefix.size()))
                            .object();
                return true;
            },
            10000);
        return found;
    }

    std::unique_ptr<LumoHome> m_home;
    std::unique_ptr<QProcess> m_lumo;
    QByteArray m_output;
    // Set on top of the home's environment.
    const QProcessEnvironment m_extra;

private:
    int m_probes = 0;
};
