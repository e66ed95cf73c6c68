#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <unistd.h>

// A temporary home for a test: settings, data and a private runtime folder (the
// single-instance socket), and files made in it. A test in process points its own
// settings here; an end-to-end test hands the real lumo the environment that points
// here and makes short runs of it (later launches, hooks).
class LumoHome
{
public:
    LumoHome()
    {
        QDir(m_dir.path()).mkpath(QStringLiteral("config/Lumo"));
        QDir(m_dir.path()).mkpath(QStringLiteral("run"));
        QFile::setPermissions(filePath(QStringLiteral("run")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    bool isValid() const { return m_dir.isValid(); }
    QString path() const { return m_dir.path(); }
    QString filePath(const QString &name) const { return m_dir.filePath(name); }
    // Where the running lumo listens once it is up.
    QString socketPath() const
    {
        return filePath(QStringLiteral("run/lumo-%1.socket").arg(::getuid()));
    }

    // The settings file lumo keeps here.
    QString settingsPath() const { return filePath(QStringLiteral("config/Lumo/Lumo.conf")); }

    // Points this process's settings and data here; called before anything asks for
    // Preferences::shared(), so that a test never reads or writes the user's own.
    void useForThisProcess() const
    {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(filePath(QStringLiteral("config"))));
        qputenv("XDG_DATA_HOME", QFile::encodeName(filePath(QStringLiteral("data"))));
    }

    // The system's environment, pointed at this home.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), filePath(QStringLiteral("run")));
        env.remove(QStringLiteral("LUMO_DATA_DIR")); // the binary must find its page by itself
        return env;
    }

    // The settings file, as "key=value" lines after a first launch.
    bool writeSettings(const QByteArray &lines) const
    {
        QFile conf(settingsPath());
        return conf.open(QIODevice::WriteOnly) &&
               conf.write("[General]\nlaunchedBefore=true\n" + lines) >= 0;
    }

    // A file in the home, folders made as needed; its path.
    QString fixture(const QString &name, const QByteArray &bytes) const
    {
        const QString path = filePath(name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
        return path;
    }

    // Runs a short-lived program to completion: its exit code, or -1 when it hangs.
    static int run(const QProcessEnvironment &environment, const QString &program,
                   const QStringList &arguments, const QByteArray &input = {},
                   QByteArray *errors = nullptr)
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(30000))
            return -1;
        if (errors)
            *errors = process.readAllStandardError();
        return process.exitCode();
    }

private:
    QTemporaryDir m_dir;
};
