#include "stationmode.h"

#include "jobchecks.h"
#include "runreport.h"
#include "settingsutil.h"
#include "stationengine.h"
#include "stationsession.h"
#include "stationview.h"
#include "storesettings.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int idleCheckMs = 1000;
constexpr int maxQuantity = 10000000;

} // namespace

StationMode::StationMode(QMainWindow* window) : QObject(window), m_window(window)
{
    m_clock.start();
    m_lock =
        StationLock(SettingsUtil::getSetting(settingsGroup(), passwordRecordKey(), QString()).toString());
    m_idleTimer = new QTimer(this);
    m_idleTimer->setInterval(idleCheckMs);
    connect(m_idleTimer, &QTimer::timeout, this, &StationMode::checkIdle);
}

StationMode::~StationMode()
{
    qApp->removeEventFilter(this);
}

QString StationMode::settingsGroup()
{
    return QStringLiteral("Station");
}

QString StationMode::passwordRecordKey()
{
    return QStringLiteral("password_record");
}

bool StationMode::ensureStore()
{
    if (!m_session)
        m_session = new StationSession(this);
    if (m_session->hasStore())
        return true;
    QString error;
    const StoreLocation location = StoreSettings::location(&error);
    if (!location.isValid() || !m_session->openStore(location, &error)) {
        emit errorEncountered(error);
        return false;
    }
    connect(m_session, &StationSession::errorEncountered, this, &StationMode::errorEncountered);
    return true;
}

void StationMode::audit(const QString& what, const QString& oldValue, const QString& newValue)
{
    if (ensureStore())
        m_session->audit(what, oldValue, newValue);
}

bool StationMode::setPassword(const QString& password)
{
    if (!m_lock.setPassword(password))
        return false;
    SettingsUtil::setSetting(settingsGroup(), passwordRecordKey(), m_lock.record());
    audit(QStringLiteral("station password"), QString(), QStringLiteral("set"));
    return true;
}

QString StationMode::tryPassword(const QString& password)
{
    const qint64 now = m_clock.elapsed();
    switch (m_lock.unlock(password, now)) {
    case StationLock::Result::Unlocked:
        m_lock.touch(now);
        audit(QStringLiteral("station unlock"), QStringLiteral("locked"), QStringLiteral("unlocked"));
        if (m_view)
            m_view->setLocked(false);
        return QString();
    case StationLock::Result::Wrong:
        audit(QStringLiteral("station unlock failed"), QString(),
              QStringLiteral("wrong password, try %1").arg(m_lock.wrongTries()));
        return tr("Wrong password.");
    case StationLock::Result::MustWait:
        break;
    case StationLock::Result::NoPassword:
        return tr("No station password is set.");
    }
    audit(QStringLiteral("station unlock failed"), QString(), QStringLiteral("too many wrong tries"));
    const qint64 seconds = (m_lock.waitLeftMs(now) + 999) / 1000;
    return tr("Too many wrong tries. Wait %1 seconds before trying again.").arg(seconds);
}

void StationMode::lockNow()
{
    if (!m_lock.isUnlocked())
        return;
    m_lock.lock();
    audit(QStringLiteral("station lock"), QStringLiteral("unlocked"), QStringLiteral("locked"));
    if (m_view)
        m_view->setLocked(true);
}

void StationMode::checkIdle()
{
    if (m_lock.lockIfIdle(m_clock.elapsed())) {
        audit(QStringLiteral("station lock"), QStringLiteral("unlocked"), QStringLiteral("locked when idle"));
        if (m_view)
            m_view->setLocked(true);
    }
}

bool StationMode::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::KeyPress:
    case QEvent::Wheel:
        m_lock.touch(m_clock.elapsed());
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

bool StationMode::begin(const JobRunRequest& job, const QString& jobName, const QString& lot, int quantity,
                        QString* error, const StationOptions& options)
{
    if (m_view)
        return true;
    QList<JobCheckAction> actions;
    for (const auto& step : job.steps)
        actions.append({true, step.value(QStringLiteral("enabled")).toBool(), step});
    const QString problem = JobChecks::firstProblem(actions, {}, {job.debugInterface, job.debugSpeed});
    if (!problem.isEmpty()) {
        *error = problem;
        return false;
    }
    if (!ensureStore()) {
        *error = tr("The production store cannot be opened: station mode keeps its lots there.");
        return false;
    }
    m_job = job;
    m_job.logging = Settings::loggingEnabled();
    m_job.logDirectory = Settings::logFileDirectory();
    m_job.timeoutSeconds = Settings::processTimeoutSeconds();
    m_jobFile = job.jobFile;
    if (!m_session->openLot(lot, quantity, m_jobFile, m_job, options, error))
        return false;
    audit(QStringLiteral("station lot"), QString(), QStringLiteral("%1 (%2)").arg(lot).arg(quantity));

    m_view = new StationView(m_session, jobName, StationSession::shortImageHash(m_job));
    m_view->setLocked(!m_lock.isUnlocked());
    connect(m_view, &StationView::lockRequested, this, &StationMode::lockNow);
    connect(m_view, &StationView::unlockRequested, this, [this] { askPassword(tr("Unlock the Station")); });
    connect(m_view, &StationView::leaveRequested, this, &StationMode::leave);
    connect(m_view, &StationView::changeLotRequested, this, [this] {
        QString lot = m_session->lot();
        int quantity = m_session->quantity();
        QString error;
        if (askLot(&lot, &quantity) && !changeLot(lot, quantity, &error))
            m_view->showMessage(error);
    });
    if (!m_session->interrupted().isEmpty())
        m_view->showMessage(tr("Units cut short when the program ended are shown INTERRUPTED: take "
                               "their boards out or re-arm their slots."));

    m_page = m_window->takeCentralWidget();
    if (m_page) {
        m_page->setParent(m_window);
        m_page->hide();
    }
    m_window->setCentralWidget(m_view);
    setWindowActionsEnabled(false);
    qApp->installEventFilter(this);
    m_lock.touch(m_clock.elapsed());
    m_idleTimer->start();
    emit entered();
    return true;
}

bool StationMode::changeLot(const QString& lot, int quantity, QString* error)
{
    const QString before = QStringLiteral("%1 (%2)").arg(m_session->lot()).arg(m_session->quantity());
    StationEngine* engine = m_session->engine();
    const bool held = engine->startsHeld();
    if (!m_session->openLot(lot, quantity, m_jobFile, m_job, engine->options(), error))
        return false;
    engine->holdStarts(held || m_session->lotComplete());
    audit(QStringLiteral("station lot"), before, QStringLiteral("%1 (%2)").arg(lot).arg(quantity));
    m_view->refresh();
    return true;
}

void StationMode::end()
{
    if (!m_view)
        return;
    m_idleTimer->stop();
    qApp->removeEventFilter(this);
    StationEngine* engine = m_session->engine();
    engine->holdStarts(true);
    engine->stopPolling();
    m_window->takeCentralWidget();
    m_view->deleteLater();
    m_view = nullptr;
    if (m_page)
        m_window->setCentralWidget(m_page);
    setWindowActionsEnabled(true);
    m_lock.lock();
    // The engine's units finish on their own; the next station mode starts a new session.
    if (engine->runningCount() == 0)
        m_session->deleteLater();
    else {
        m_session->setParent(nullptr);
        connect(engine, &StationEngine::idle, m_session, &QObject::deleteLater);
    }
    m_session = nullptr;
    emit left();
}

void StationMode::setWindowActionsEnabled(bool enabled)
{
    if (!enabled) {
        m_disabledActions.clear();
        QList<QAction*> actions = m_window->menuBar()->actions();
        for (int i = 0; i < actions.size(); ++i) {
            QAction* action = actions.at(i);
            if (action->menu())
                actions += action->menu()->actions();
            if (action->isEnabled() && !action->isSeparator()) {
                action->setEnabled(false);
                m_disabledActions << action;
            }
        }
        return;
    }
    for (const QPointer<QAction>& action : qAsConst(m_disabledActions))
        if (action)
            action->setEnabled(true);
    m_disabledActions.clear();
}

void StationMode::enter(const JobRunRequest& job, const JobFileOrigin& origin)
{
    if (m_view)
        return;
    if (!m_lock.hasPassword()) {
        QDialog dialog(m_window);
        dialog.setWindowTitle(tr("Set the Station Password"));
        auto* first = new QLineEdit(&dialog);
        auto* second = new QLineEdit(&dialog);
        first->setEchoMode(QLineEdit::Password);
        second->setEchoMode(QLineEdit::Password);
        auto* message = new QLabel(
            tr("Station mode has no password yet. Set one: it is needed to enter and to leave station mode."),
            &dialog);
        message->setWordWrap(true);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
        auto* form = new QFormLayout(&dialog);
        form->addRow(message);
        form->addRow(tr("Password:"), first);
        form->addRow(tr("Again:"), second);
        form->addRow(buttons);
        connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
            if (first->text() != second->text())
                message->setText(tr("The two passwords differ."));
            else if (!setPassword(first->text()))
                message->setText(
                    tr("The password needs at least %1 characters.").arg(StationLock::minimumLength));
            else
                dialog.accept();
        });
        if (dialog.exec() != QDialog::Accepted)
            return;
    }
    if (!m_lock.isUnlocked() && !askPassword(tr("Enter Station Mode")))
        return;
    QString lot;
    int quantity = 100;
    if (!askLot(&lot, &quantity))
        return;
    JobRunRequest request = job;
    // The job is the file's only while it is still what was loaded or saved.
    if (!origin.path.isEmpty() && JobHash::sha256(job) == origin.jobSha256)
        request.jobFile = origin.path;
    const QString jobName = request.jobFile.isEmpty()
                                ? tr("(not saved) %1").arg(RunReport::stepsInShort(job.steps))
                                : QFileInfo(request.jobFile).fileName();
    QString error;
    if (!begin(request, jobName, lot, quantity, &error))
        emit errorEncountered(error);
}

void StationMode::leave()
{
    if (!m_view)
        return;
    if (!m_lock.isUnlocked() && !askPassword(tr("Leave Station Mode")))
        return;
    end();
}

bool StationMode::askPassword(const QString& title)
{
    QDialog dialog(m_window);
    dialog.setWindowTitle(title);
    auto* password = new QLineEdit(&dialog);
    password->setObjectName(QStringLiteral("stationPassword"));
    password->setEchoMode(QLineEdit::Password);
    auto* message = new QLabel(tr("Station password:"), &dialog);
    message->setObjectName(QStringLiteral("stationPasswordMessage"));
    message->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(message);
    layout->addWidget(password);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
        const QString result = tryPassword(password->text());
        password->clear();
        if (result.isEmpty())
            dialog.accept();
        else
            message->setText(result);
    });
    return dialog.exec() == QDialog::Accepted;
}

bool StationMode::askLot(QString* lot, int* quantity)
{
    QDialog dialog(m_window);
    dialog.setWindowTitle(tr("Station Lot"));
    auto* name = new QLineEdit(*lot, &dialog);
    auto* count = new QSpinBox(&dialog);
    count->setRange(1, maxQuantity);
    count->setValue(qBound(1, *quantity, maxQuantity));
    auto* message = new QLabel(&dialog);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    auto* form = new QFormLayout(&dialog);
    form->addRow(tr("Lot:"), name);
    form->addRow(tr("Quantity to pass:"), count);
    form->addRow(message);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, [&] {
        if (name->text().trimmed().isEmpty())
            message->setText(tr("Name the lot."));
        else
            dialog.accept();
    });
    if (dialog.exec() != QDialog::Accepted)
        return false;
    *lot = name->text().trimmed();
    *quantity = count->value();
    return true;
}
