#pragma once

#include <functional>
#include <QString>
#include <QStringList>

// Lumo as the desktop's default application for Markdown files, through xdg-mime
// and the installed lumo.desktop entry.
//
// Main thread only. xdg-mime runs as a separate process; answers come back on the
// main thread when it has finished, never blocking it.
namespace Lumo::App::DefaultApp {

// The desktop entry an installed Lumo registers.
inline constexpr char desktopEntry[] = "lumo.desktop";

// The Markdown content types made ours: the registered one and the older alias.
QStringList contentTypes();

// Answers whether the desktop opens text/markdown with lumo.desktop; false when
// xdg-mime is missing or fails.
void isDefault(std::function<void(bool)> answer);

// Makes lumo.desktop the default for every Markdown content type; done runs when
// xdg-mime has answered (or could not start).
void makeDefault(std::function<void()> done = {});

// An installed copy: started from an install prefix whose share/applications holds
// lumo.desktop. A build tree or an unpacked copy is not one.
bool isInstalledCopy();

// Answers whether to make the one-time offer: an installed copy that has not asked
// before and is not the default yet.
void shouldOffer(std::function<void(bool)> answer);

} // namespace Lumo::App::DefaultApp
