#include "MarkdownNames.h"

#include <algorithm>
#include <array>
#include <QCoreApplication>
#include <QFile>
#include <QStringList>

namespace Lumo::Base {

namespace {

constexpr std::array<std::string_view, 6> extensionNames{"md",  "markdown", "mdown",
                                                         "mkd", "mkdn",     "mdx"};
constexpr std::array<std::string_view, 17> skippedNames{
    ".git",        "node_modules", ".build",   "build",   "DerivedData", "Pods",
    "dist",        ".next",        ".nuxt",    "vendor",  ".venv",       "venv",
    "__pycache__", "target",       ".swiftpm", ".gradle", ".idea"};

template <std::size_t N> QSet<QString> setOf(const std::array<std::string_view, N> &names)
{
    QSet<QString> set;
    for (std::string_view name : names)
        set.insert(QString::fromLatin1(name.data(), qsizetype(name.size())));
    return set;
}

std::string_view extensionOf(std::string_view name)
{
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return {};
    return name.substr(dot + 1);
}

} // namespace

namespace MarkdownNames {

const QSet<QString> &extensions()
{
    static const QSet<QString> set = setOf(extensionNames);
    return set;
}

const QSet<QString> &skippedFolders()
{
    static const QSet<QString> set = setOf(skippedNames);
    return set;
}

bool isMarkdownName(const QString &fileName)
{
    return hasMarkdownExtension(QFile::encodeName(fileName).toStdString());
}

bool hasMarkdownExtension(std::string_view fileName)
{
    const std::string_view extension = extensionOf(fileName);
    char lowered[16];
    if (extension.empty() || extension.size() > sizeof lowered)
        return false;
    for (std::size_t i = 0; i < extension.size(); ++i) {
        const char c = extension[i];
        lowered[i] = c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
    }
    const std::string_view key(lowered, extension.size());
    return std::find(extensionNames.begin(), extensionNames.end(), key) != extensionNames.end();
}

bool isSkippedFolder(std::string_view name)
{
    return std::find(skippedNames.begin(), skippedNames.end(), name) != skippedNames.end();
}

QString dialogFilter()
{
    QStringList patterns;
    for (std::string_view name : extensionNames)
        patterns.append(QStringLiteral("*.") +
                        QString::fromLatin1(name.data(), qsizetype(name.size())));
    return QCoreApplication::translate("MarkdownNames", "Markdown (%1)").arg(patterns.join(u' '));
}

} // namespace MarkdownNames

} // namespace Lumo::Base
