#include "stationview.h"

#include "stationengine.h"
#include "stationsession.h"
#include "stationtile.h"
#include "stationtiletext.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

constexpr int tileColumns = 4;

QFont sized(QFont font, int pointSize, bool bold = false)
{
    font.setPointSize(pointSize);
    font.setBold(bold);
    return font;
}

} // namespace

StationView::StationView(StationSession* session, const QString& jobName, const QString& imageHash,
                         QWidget* parent)
    : QWidget(parent), m_session(session)
{
    setObjectName(QStringLiteral("stationView"));
    m_lot = new QLabel(this);
    m_lot->setObjectName(QStringLiteral("stationLot"));
    m_lot->setFont(sized(font(), 22, true));
    m_counters = new QLabel(this);
    m_counters->setObjectName(QStringLiteral("stationCounters"));
    m_counters->setFont(sized(font(), 22, true));
    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("stationProgress"));
    m_progress->setMinimumHeight(28);
    m_job = new QLabel(tr("Job: %1    Images: %2").arg(jobName, imageHash), this);
    m_job->setObjectName(QStringLiteral("stationJob"));
    m_job->setFont(sized(font(), 14));
    m_message = new QLabel(this);
    m_message->setObjectName(QStringLiteral("stationMessage"));
    m_message->setFont(sized(font(), 16, true));
    m_message->setWordWrap(true);

    m_start = new QPushButton(tr("Start Hands-Free Runs"), this);
    m_start->setObjectName(QStringLiteral("stationStart"));
    m_stop = new QPushButton(tr("Stop Hands-Free Runs"), this);
    m_stop->setObjectName(QStringLiteral("stationStop"));
    m_lock = new QPushButton(this);
    m_lock->setObjectName(QStringLiteral("stationLock"));
    m_changeLot = new QPushButton(tr("Change Lot..."), this);
    m_changeLot->setObjectName(QStringLiteral("stationChangeLot"));
    m_leave = new QPushButton(tr("Leave Station Mode"), this);
    m_leave->setObjectName(QStringLiteral("stationLeave"));
    for (QPushButton* button : {m_start, m_stop, m_lock, m_changeLot, m_leave}) {
        button->setFont(sized(font(), 14));
        button->setMinimumHeight(44);
    }

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_start);
    buttons->addWidget(m_stop);
    buttons->addStretch();
    buttons->addWidget(m_lock);
    buttons->addWidget(m_changeLot);
    buttons->addWidget(m_leave);

    auto* tiles = new QWidget;
    m_grid = new QGridLayout(tiles);
    m_grid->setSpacing(12);
    m_grid->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(tiles);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_lot);
    layout->addWidget(m_progress);
    layout->addWidget(m_counters);
    layout->addWidget(m_job);
    layout->addLayout(buttons);
    layout->addWidget(m_message);
    layout->addWidget(scroll, 1);

    StationEngine* engine = session->engine();
    connect(engine, &StationEngine::slotChanged, this, &StationView::updateSlot);
    connect(engine, &StationEngine::unitStarted, this, [this](const QString& slotId) {
        m_poolValues.remove(slotId);
        updateSlot(slotId);
    });
    connect(session, &StationSession::unitEnded, this, [this](const StationUnit& unit) {
        if (!unit.poolValues.isEmpty())
            m_poolValues.insert(unit.slotId, unit.poolValues);
        updateSlot(unit.slotId);
    });
    connect(session, &StationSession::countsChanged, this, &StationView::updateCounters);
    connect(session, &StationSession::lotCompleted, this, [this] {
        showMessage(tr("Lot \"%1\" is complete: %2 of %3 passed. No more units start.")
                        .arg(m_session->lot())
                        .arg(m_session->counts().passed)
                        .arg(m_session->quantity()));
        updateButtons();
    });
    connect(session, &StationSession::errorEncountered, this, &StationView::showMessage);

    connect(m_start, &QPushButton::clicked, this, [this] {
        StationEngine* engine = m_session->engine();
        engine->holdStarts(false);
        if (!m_started)
            engine->start();
        m_started = true;
        showMessage(QString());
        updateButtons();
    });
    connect(m_stop, &QPushButton::clicked, this, [this] {
        m_session->engine()->holdStarts(true);
        showMessage(tr("No new units start; running units finish."));
        updateButtons();
    });
    connect(m_lock, &QPushButton::clicked, this, [this] {
        if (m_locked)
            emit unlockRequested();
        else
            emit lockRequested();
    });
    connect(m_changeLot, &QPushButton::clicked, this, &StationView::changeLotRequested);
    connect(m_leave, &QPushButton::clicked, this, &StationView::leaveRequested);

    refresh();
}

void StationView::refresh()
{
    for (const QString& slotId : m_session->engine()->slotIds())
        updateSlot(slotId);
    updateCounters();
    updateButtons();
}

void StationView::setLocked(bool locked)
{
    m_locked = locked;
    updateButtons();
}

void StationView::showMessage(const QString& message)
{
    m_message->setText(message);
}

void StationView::updateButtons()
{
    const bool running = m_started && !m_session->engine()->startsHeld();
    m_start->setEnabled(!running && !m_session->lotComplete());
    m_stop->setEnabled(running);
    m_lock->setText(m_locked ? tr("Unlock...") : tr("Lock"));
    m_changeLot->setEnabled(!m_locked);
    m_leave->setEnabled(!m_locked);
}

void StationView::updateSlot(const QString& slotId)
{
    const StationSlot* slot = m_session->engine()->slot(slotId);
    if (!slot)
        return;
    StationTile* tile = m_tiles.value(slotId);
    if (!tile) {
        tile = new StationTile(slotId, this);
        connect(tile, &StationTile::rearmRequested, this, [this](const QString& id) {
            m_session->engine()->rearm(id);
            updateSlot(id);
        });
        const int place = m_tiles.size();
        m_tiles.insert(slotId, tile);
        m_grid->addWidget(tile, place / tileColumns, place % tileColumns);
    }
    const QString name =
        slot->device.nickname.isEmpty() ? slotId : tr("%1 (%2)").arg(slot->device.nickname, slotId);
    const StationTileText text = StationTileText::of(
        slot->state, slot->action, m_session->engine()->actionCount(), slot->percent, slot->reason);
    const bool rearmable = slot->state == StationSlot::State::Fail ||
                           slot->state == StationSlot::State::Interrupted ||
                           slot->state == StationSlot::State::Pass;
    tile->setContent(name, text, m_poolValues.value(slotId), rearmable);
}

void StationView::updateCounters()
{
    const LotCounts& counts = m_session->counts();
    const int quantity = m_session->quantity();
    m_lot->setText(tr("Lot %1: %2 of %3 passed").arg(m_session->lot()).arg(counts.passed).arg(quantity));
    m_progress->setRange(0, qMax(1, quantity));
    m_progress->setValue(qMin(counts.passed, quantity));
    m_counters->setText(tr("Passed %1    Failed %2    Yield %3%    First pass %4%")
                            .arg(counts.passed)
                            .arg(counts.failed)
                            .arg(counts.finalYield(), 0, 'f', 1)
                            .arg(counts.firstPassYield(), 0, 'f', 1));
}
