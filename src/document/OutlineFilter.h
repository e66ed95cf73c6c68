#pragma once

#include "OutlineItem.h"

// Narrowing the outline as the reader types.
namespace Lumo::Document::OutlineFilter {

// The items whose text contains the query, ignoring case as the user's language
// does, in outline order; all of them for an empty query.
QList<OutlineItem> matching(const QList<OutlineItem> &outline, const QString &query);

// The shallowest level of the whole outline (1 when empty): indentation is measured
// from it, so a filtered list keeps its shape.
int minimumLevel(const QList<OutlineItem> &outline);

} // namespace Lumo::Document::OutlineFilter
