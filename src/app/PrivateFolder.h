#pragma once

#include <QString>

// A folder only this user can enter, for the single-instance socket, and the check
// that the other end of a local socket is this user. Other users on the machine must
// neither receive what a launch hands over nor hand anything in.
namespace Lumo::App::PrivateFolder {

// Why path is not private, or an empty string when it is: it must be a directory
// itself (not a link to one), owned by this user, with no access for group or others.
QString problem(const QString &path);

// The folder for per-user sockets: the runtime folder when it is private, else a
// folder of this user's own, made with mode 0700 in the temporary folder. Someone
// else may have made that one first: check it with problem() before use.
QString forSockets();

// Whether the process at the other end of a connected local socket runs as this user.
bool peerIsThisUser(qintptr socketDescriptor);

} // namespace Lumo::App::PrivateFolder
