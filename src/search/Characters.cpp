#include "Characters.h"

#include <QTextBoundaryFinder>

namespace Lumo::Search::Characters {
bool surelySingleUnits(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit >= 0x300 || (unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n'))
            return false;
    }
    return true;
}

std::vector<qsizetype> bounds(QStringView text)
{
    std::vector<qsizetype> starts{0};
    if (surelySingleUnits(text)) {
        for (qsizetype i = 1; i <= text.size(); ++i)
            starts.push_back(i);
        return starts;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    for (qsizetype at = finder.toNextBoundary(); at > 0; at = finder.toNextBoundary())
        starts.push_back(at);
    return starts;
}

qsizetype count(QStringView text)
{
    if (surelySingleUnits(text))
        return text.size();
    return qsizetype(bounds(text).size()) - 1;
}

} // namespace Lumo::Search::Characters
