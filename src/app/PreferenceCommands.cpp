#include "PreferenceCommands.h"

#include "document/CustomCSS.h"
#include "base/Preferences.h"
#include "ReaderPreferences.h"
#include "SettingsWindow.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QMenu>

namespace Lumo::App {

using Lumo::Base::Preferences;
using Lumo::Document::CustomCSS;

namespace PreferenceCommands {
namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("Lumo::App::DocumentWindow", text);
}

// A checkable command that shows a yes-or-no preference and sets it.
QAction *addToggle(QWidget *window, const char *name, const QString &text,
                   bool (Preferences::*get)() const, void (Preferences::*set)(bool),
                   void (Preferences::*changed)())
{
    auto *action = new QAction(text, window);
    action->setObjectName(QLatin1String(name));
    action->setCheckable(true);
    action->setChecked((Preferences::shared().*get)());
    QObject::connect(action, &QAction::toggled, action,
                     [set](bool on) { (Preferences::shared().*set)(on); });
    QObject::connect(&Preferences::shared(), changed, action,
                     [action, get] { action->setChecked((Preferences::shared().*get)()); });
    return action;
}

void addThemeMenu(QWidget *window)
{
    auto *themes = new QMenu(tr("&Theme"), window);
    themes->setObjectName(QStringLiteral("themeMenu"));
    auto *group = new QActionGroup(themes);
    // A theme that names no case leaves every item unchecked.
    group->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    for (const ReaderTheme::Case theme : ReaderTheme::allCases()) {
        QAction *item = themes->addAction(ReaderTheme::displayName(theme), window, [theme] {
            Preferences::shared().setTheme(ReaderTheme::rawValue(theme));
        });
        item->setCheckable(true);
        item->setData(ReaderTheme::rawValue(theme));
        group->addAction(item);
    }
    const auto check = [group] {
        const QString current = Preferences::shared().theme();
        for (QAction *item : group->actions())
            item->setChecked(item->data().toString() == current);
    };
    QObject::connect(&Preferences::shared(), &Preferences::themeChanged, themes, check);
    check();
}

void addAppearanceMenu(QWidget *window)
{
    auto *appearance = new QMenu(tr("Appearan&ce"), window);
    appearance->setObjectName(QStringLiteral("appearanceMenu"));
    auto *group = new QActionGroup(appearance);
    for (const auto &[value, text] : {std::pair{QStringLiteral("system"), tr("&System")},
                                      std::pair{QStringLiteral("light"), tr("&Light")},
                                      std::pair{QStringLiteral("dark"), tr("&Dark")}}) {
        QAction *item = appearance->addAction(
            text, window, [value] { Preferences::shared().setAppearance(value); });
        item->setCheckable(true);
        item->setData(value);
        group->addAction(item);
    }
    const auto check = [group] {
        const QString current = Preferences::shared().appearance();
        for (QAction *item : group->actions())
            item->setChecked(item->data().toString() == current);
    };
    QObject::connect(&Preferences::shared(), &Preferences::appearanceChanged, appearance, check);
    check();
}

} // namespace

void create(QWidget *window)
{
    auto *settings = new QAction(tr("&Settings…"), window);
    settings->setObjectName(QStringLiteral("settings"));
    settings->setShortcut(QKeySequence(tr("Ctrl+,")));
    settings->setMenuRole(QAction::PreferencesRole);
    QObject::connect(settings, &QAction::triggered, window, &SettingsWindow::showShared);

    addToggle(window, "followChanges", tr("&Follow Changes"), &Preferences::followChanges,
              &Preferences::setFollowChanges, &Preferences::followChangesChanged)
        ->setShortcut(QKeySequence(tr("Ctrl+Alt+F")));
    addThemeMenu(window);
    addAppearanceMenu(window);
    addToggle(window, "useCustomCss", tr("Use Custom CSS"), &Preferences::useCustomCSS,
              &Preferences::setUseCustomCSS, &Preferences::useCustomCSSChanged);
    auto *editCSS = new QAction(tr("Edit Custom CSS…"), window);
    editCSS->setObjectName(QStringLiteral("editCustomCss"));
    QObject::connect(editCSS, &QAction::triggered, window,
                     [] { CustomCSS::shared().openForEditing(Preferences::shared()); });
}

} // namespace PreferenceCommands

} // namespace Lumo::App
