#include "DesktopAppearance.h"

#include "AppearanceChoice.h"
#include "base/Preferences.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPalette>
#include <QStyle>

namespace Lumo::App {

using Lumo::Base::Appearance;
using Lumo::Base::Preferences;
namespace Brand = Lumo::Base::Brand;

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

Appearance appearanceOf(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() <
                   palette.color(QPalette::WindowText).lightness()
               ? Appearance::Dark
               : Appearance::Light;
}

// The portal wraps the value in a variant, sometimes twice.
uint schemeOf(QVariant value)
{
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt();
}

QPalette darkPalette()
{
    QPalette palette;
    const QColor window(0x2b, 0x2b, 0x2e), base(0x1f, 0x1f, 0x22), text(0xe6, 0xe6, 0xe8);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, window);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x9a, 0xa0));
    palette.setColor(QPalette::Light, QColor(0x44, 0x44, 0x48));
    palette.setColor(QPalette::Midlight, QColor(0x3a, 0x3a, 0x3e));
    palette.setColor(QPalette::Mid, QColor(0x30, 0x30, 0x33));
    palette.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, Brand::accent().resolved(Appearance::Dark));
    palette.setColor(QPalette::HighlightedText, Qt::black);
    palette.setColor(QPalette::Link, Brand::accent().resolved(Appearance::Dark));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x85));
    return palette;
}

QPalette lightPalette(const QPalette &platform)
{
    // The platform's own when it is light, else the style's standard one.
    return appearanceOf(platform) == Appearance::Light ? platform
                                                       : QApplication::style()->standardPalette();
}

class Follower : public QObject
{
    Q_OBJECT

public:
    explicit Follower(QObject *parent);

private Q_SLOTS:
    void settingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void apply();

    QPalette m_platformPalette;
    std::optional<Appearance> m_desktop;
};

Follower::Follower(QObject *parent)
    : QObject(parent)
    , m_platformPalette(QApplication::palette())
{
    connect(&Preferences::shared(), &Preferences::appearanceChanged, this, &Follower::apply);
    apply();

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                       QStringLiteral("Read"));
    read << appearanceGroup << colorSchemeKey;
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(read, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher *call) {
                call->deleteLater();
                const QDBusPendingReply<QVariant> reply = *call;
                // No portal, or one without the setting: the palette decides.
                if (reply.isError())
                    return;
                m_desktop = AppearanceChoice::fromColorScheme(schemeOf(reply.value()));
                apply();
            });
}

void Follower::settingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group != appearanceGroup || key != colorSchemeKey)
        return;
    m_desktop = AppearanceChoice::fromColorScheme(schemeOf(value.variant()));
    apply();
}

void Follower::apply()
{
    const Appearance chosen = AppearanceChoice::resolve(Preferences::shared().appearance(),
                                                        m_desktop, appearanceOf(m_platformPalette));
    const QPalette palette =
        chosen == Appearance::Dark
            ? (appearanceOf(m_platformPalette) == Appearance::Dark ? m_platformPalette
                                                                   : darkPalette())
            : lightPalette(m_platformPalette);
    if (palette != QApplication::palette())
        QApplication::setPalette(palette);
}

} // namespace

namespace DesktopAppearance {

void install()
{
    static Follower *follower = nullptr;
    if (!follower)
        follower = new Follower(QCoreApplication::instance());
}

} // namespace DesktopAppearance

} // namespace Lumo::App

#include "DesktopAppearance.moc"
