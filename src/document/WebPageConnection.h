#pragma once

#include "PageConnection.h"

namespace Lumo::Document {

class PageRecovery;
class PreviewPage;

// A document controller's link to a real reading page, kept alive by PageRecovery:
// a page whose renderer ends, or that never says "ready", is loaded again, a bounded
// number of times in a row.
class WebPageConnection final : public PageConnection
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WebPageConnection)

public:
    explicit WebPageConnection(PreviewPage *page, QObject *parent = nullptr);

    void load() override;
    void call(const QString &script) override;
    void callAwaited(const QString &name, const QString &argumentsJs, Reply done) override;
    bool hasGivenUp() const override;

private:
    PreviewPage *m_page;
    PageRecovery *m_recovery;
};

} // namespace Lumo::Document
