// The settings page of every action type. The object names are what job
// generation and loading look for, so they must not change. Slots find their
// widgets through the sender's parent, which keeps the many copies of one page
// (one per action) independent of each other.
#include "bulkoperationswidget.h"
#include "droppablelineedit.h"
#include "hexspinbox.h"
#include "jobvariables.h"
#include "repeatedlabel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

namespace {

const QStringList firmwareExtensions{QStringLiteral(".emz")};
const QStringList applicationExtensions{
    QStringLiteral(".bin"),  QStringLiteral(".binary"), QStringLiteral(".s37"), QStringLiteral(".hex"),
    QStringLiteral(".srec"), QStringLiteral(".mot"),    QStringLiteral(".ebl"), QStringLiteral(".gbl"),
    QStringLiteral(".rps"),  QStringLiteral(".axf"),    QStringLiteral(".out"), QStringLiteral(".elf")};

constexpr int maxFlashStartAddress = 0x20000000;
constexpr int flashStartAddressStep = 0x200;
constexpr int maxWaitDurationMs = 600000;

template<typename T> T* siblingOfSender(QObject* sender, const QString& name)
{
    if (!sender || !sender->parent())
        return nullptr;
    return sender->parent()->findChild<T*>(name);
}

// Starts in the folder of the file the field names now, which is where the
// user most likely keeps the next one.
QString browseForFile(QWidget* parent, DroppableLineEdit* lineEdit, const QString& caption,
                      const QString& filter)
{
    const QString startDirectory = QFileInfo(lineEdit->text()).dir().path();
    return QFileDialog::getOpenFileName(parent, caption, startDirectory, filter);
}

QString extensionPatterns(const DroppableLineEdit* lineEdit)
{
    return lineEdit->getSupportedExtensions().join(QStringLiteral(" *"));
}

} // namespace

// Each settings box is built parentless with its widgets as the box's own children and only
// then placed in its editor page. A widget created inside the window and moved into another
// window makes Qt walk the window's whole focus chain; with a hundred actions loaded that
// chain holds thousands of widgets.
QGroupBox* BulkOperationsWidget::setupAdapterFwInstallBox()
{
    auto* box = new QGroupBox;
    auto* layout = new QGridLayout(box);

    auto* installDefault = new QRadioButton(tr("Install default firmware for this adapter"), box);
    installDefault->setObjectName(QStringLiteral("installDefaultRadioButton"));
    auto* installIfNewer = new QCheckBox(tr("Install only if a newer version firmware is available"), box);
    installIfNewer->setObjectName(QStringLiteral("installIfNewerCheckBox"));
    installIfNewer->setChecked(true);
    auto* installFromFile = new QRadioButton(tr("Install firmware package from file"), box);
    installFromFile->setObjectName(QStringLiteral("installFromFileRadioButton"));
    auto* emzFile = new DroppableLineEdit(box);
    emzFile->setObjectName(QStringLiteral("emzFileLineEdit"));
    connect(emzFile, &QLineEdit::textChanged, this,
            [this](const QString& path) { jobFileGuard.remember({path}); });
    emzFile->setPlaceholderText(tr("Path to .emz firmware package file"));
    emzFile->setSupportedExtensions(firmwareExtensions);
    emzFile->setMinimumWidth(400);
    auto* browse = new QPushButton(tr("Browse..."), box);
    browse->setObjectName(QStringLiteral("browseButton"));
    connect(browse, &QPushButton::clicked, this, &BulkOperationsWidget::adapterFwInstallBrowseForEmz);

    layout->addWidget(installDefault, 0, 0, 1, 2, Qt::AlignBottom);
    layout->addWidget(installIfNewer, 1, 0, 1, 2, Qt::AlignTop);
    layout->addWidget(installFromFile, 2, 0, 1, 2);
    layout->addWidget(emzFile, 3, 0);
    layout->addWidget(browse, 3, 1);
    layout->setRowStretch(1, 1);

    // Connected before checking, so the initial check sets the dependent widgets.
    connect(installDefault, &QRadioButton::toggled, this,
            &BulkOperationsWidget::adapterFwInstallOnInstallDefaultToggled);
    installDefault->setChecked(true);
    return box;
}

QGroupBox* BulkOperationsWidget::setupAdapterDebugModeBox()
{
    auto* box = new QGroupBox;
    auto* layout = new QGridLayout(box);

    auto* debugMode = new QComboBox(box);
    debugMode->setObjectName(QStringLiteral("debugModeComboBox"));
    debugMode->addItems({QStringLiteral("MCU"), QStringLiteral("IN"), QStringLiteral("OUT"),
                         QStringLiteral("MINI"), QStringLiteral("OFF")});
    debugMode->setCurrentText(QStringLiteral("MCU"));

    layout->addWidget(new RepeatedLabel(tr("Note: Not all adapters support all debug modes."), box), 0, 0, 1,
                      3);
    layout->addWidget(new RepeatedLabel(tr("Debug mode:"), box), 1, 0);
    layout->addWidget(debugMode, 1, 1);
    return box;
}

QGroupBox* BulkOperationsWidget::setupLogDeviceInfoBox()
{
    auto* box = new QGroupBox;
    auto* layout = new QGridLayout(box);
    layout->addWidget(new RepeatedLabel(tr("No settings available."), box), 0, 0);
    return box;
}

QGroupBox* BulkOperationsWidget::setupTargetMasseraseBox()
{
    return setupLogDeviceInfoBox();
}

QGroupBox* BulkOperationsWidget::setupTargetRecoveryBox()
{
    return setupLogDeviceInfoBox();
}

QGroupBox* BulkOperationsWidget::setupTargetFlashBox()
{
    auto* box = new QGroupBox;
    auto* layout = new QGridLayout(box);

    auto* appFile = new DroppableLineEdit(box);
    appFile->setObjectName(QStringLiteral("appFileLineEdit"));
    appFile->setPlaceholderText(tr("Path to application binary file"));
    appFile->setMinimumWidth(400);
    appFile->setSupportedExtensions(applicationExtensions);
    auto* browse = new QPushButton(tr("Browse..."), box);
    connect(browse, &QPushButton::clicked, this, &BulkOperationsWidget::targetFlashBrowseForApp);

    auto* startAddress = new HexSpinBox(box);
    startAddress->setObjectName(QStringLiteral("startAddressSpinBox"));
    startAddress->setRange(0, maxFlashStartAddress);
    startAddress->setSingleStep(flashStartAddressStep);
    startAddress->setValue(0);
    startAddress->setToolTip(tr("The address to start flashing from. Interpreted as hexadecimal."));

    auto* force = new QCheckBox(tr("Force"), box);
    force->setObjectName(QStringLiteral("forceCheckBox"));
    auto* resetAfter = new QCheckBox(tr("Reset target after flashing"), box);
    resetAfter->setObjectName(QStringLiteral("resetAfterFlashCheckBox"));
    resetAfter->setChecked(true);
    auto* verifyAfter = new QCheckBox(tr("Verify after flashing"), box);
    verifyAfter->setObjectName(QStringLiteral("verifyAfterFlashCheckBox"));
    verifyAfter->setChecked(true);
    auto* haltAfter = new QCheckBox(tr("Halt target after flashing"), box);
    haltAfter->setObjectName(QStringLiteral("haltAfterFlashCheckBox"));

    layout->addWidget(appFile, 0, 0, 1, 3);
    layout->addWidget(browse, 0, 3);
    layout->addWidget(new RepeatedLabel(tr("Flash start address:"), box), 1, 0);
    layout->addWidget(startAddress, 1, 1);
    layout->addWidget(new RepeatedLabel(tr("Options:"), box), 2, 0);
    layout->addWidget(force, 2, 1);
    layout->addWidget(resetAfter, 3, 1);
    layout->addWidget(verifyAfter, 4, 1);
    layout->addWidget(haltAfter, 5, 1);
    layout->setColumnStretch(2, 1);

    connect(appFile, &QLineEdit::textChanged, this, &BulkOperationsWidget::targetFlashOnAppFileChanged);
    return box;
}

QGroupBox* BulkOperationsWidget::setupTargetDebugLockUnlockBox()
{
    auto* box = new QGroupBox;
    auto* layout = new QGridLayout(box);

    auto* lock = new QRadioButton(tr("Lock Debug Access"), box);
    lock->setObjectName(QStringLiteral("lockDebugRadioButton"));
    auto* unlock = new QRadioButton(tr("Unlock Debug Access"), box);
    unlock->setObjectName(QStringLiteral("unlockDebugRadioButton"));

    layout->addWidget(lock, 1, 0, Qt::AlignBottom);
    layout->addWidget(unlock, 2, 0, Qt::AlignTop);
    // Checked once both share the box, so they exclude each other.
    lock->setChecked(true);
    return box;
}

QGroupBox* BulkOperationsWidget::setupWaitBox()
{
    auto* box = new QGroupBox;
    auto* layout = new QGridLayout(box);

    auto* duration = new QLineEdit(box);
    duration->setObjectName(QStringLiteral("durationLineEdit"));
    duration->setValidator(new QIntValidator(0, maxWaitDurationMs, duration));

    layout->addWidget(new RepeatedLabel(tr("Duration (ms):"), box), 0, 0);
    layout->addWidget(duration, 0, 1);
    return box;
}

QGroupBox* BulkOperationsWidget::setupCustomCommandBox()
{
    auto* box = new QGroupBox;
    auto* layout = new QGridLayout(box);

    auto* note =
        new RepeatedLabel(tr("Run a custom CLI command.<br><br><b>Note:</b> Debug-related options are "
                             "<b>not</b> automatically added to this command.<br><br>Device connection "
                             "options can be provided manually using variables,<br>e.g. \"--device {{%1}}\".")
                              .arg(VARIABLE_NAME_TARGET_PART),
                          box);
    note->setWordWrap(true);

    auto* appendOption = new QCheckBox(tr("Append adapter option"), box);
    appendOption->setObjectName(QStringLiteral("appendConnectionOptionCheckBox"));
    appendOption->setChecked(true);
    appendOption->setToolTip(tr("Append the relevant adapter connection option (--serialno or --ip) \n"
                                "automatically based on the selected adapter."));

    auto* command = new QLineEdit(box);
    command->setObjectName(QStringLiteral("customCommandLineEdit"));
    command->setPlaceholderText(tr("CLI command to run, e.g. 'device reset'"));
    command->setMinimumWidth(400);

    layout->addWidget(note, 0, 0, 1, 2);
    layout->addWidget(appendOption, 1, 0);
    layout->addWidget(command, 2, 0, 1, 2);
    return box;
}

void BulkOperationsWidget::adapterFwInstallOnInstallDefaultToggled(bool checked)
{
    if (auto* installIfNewer = siblingOfSender<QCheckBox>(sender(), QStringLiteral("installIfNewerCheckBox")))
        installIfNewer->setEnabled(checked);
    if (auto* emzFile = siblingOfSender<DroppableLineEdit>(sender(), QStringLiteral("emzFileLineEdit")))
        emzFile->setEnabled(!checked);
    if (auto* browse = siblingOfSender<QPushButton>(sender(), QStringLiteral("browseButton")))
        browse->setEnabled(!checked);
}

void BulkOperationsWidget::adapterFwInstallBrowseForEmz()
{
    auto* emzFile = siblingOfSender<DroppableLineEdit>(sender(), QStringLiteral("emzFileLineEdit"));
    if (!emzFile)
        return;
    const QString path = browseForFile(this, emzFile, tr("Select Adapter Firmware"),
                                       tr("Firmware packages (*%1)").arg(extensionPatterns(emzFile)));
    if (!path.isEmpty())
        emzFile->setText(path);
}

void BulkOperationsWidget::targetFlashBrowseForApp()
{
    auto* appFile = siblingOfSender<DroppableLineEdit>(sender(), QStringLiteral("appFileLineEdit"));
    if (!appFile)
        return;
    const QString path =
        browseForFile(this, appFile, tr("Select Application Binary"),
                      tr("Supported Files (*%1);;All Files (*.*)").arg(extensionPatterns(appFile)));
    if (!path.isEmpty())
        appFile->setText(path);
}

void BulkOperationsWidget::targetFlashOnAppFileChanged(const QString& newString)
{
    jobFileGuard.remember({newString});
    auto* startAddress = siblingOfSender<HexSpinBox>(sender(), QStringLiteral("startAddressSpinBox"));
    if (!startAddress)
        return;
    // An address only means something for raw images; the other formats carry their own.
    startAddress->setEnabled(newString.endsWith(QLatin1String(".bin"), Qt::CaseInsensitive) ||
                             newString.endsWith(QLatin1String(".binary"), Qt::CaseInsensitive));
}
