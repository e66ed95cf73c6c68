#pragma once

#include <QObject>

namespace Lumo::Base {

// Diagnostic notifications ("lumoapp.debug.…") that "lumo --post NAME [ARG]" delivers
// to the running instance, only while the "debugHooks" preference is on.
// DebugHookRouter carries them out.
class DebugHooks : public QObject
{
    Q_OBJECT

public:
    static DebugHooks &shared();

    void post(const QString &name, const QString &argument) { Q_EMIT posted(name, argument); }

Q_SIGNALS:
    void posted(const QString &name, const QString &argument);
};

} // namespace Lumo::Base
