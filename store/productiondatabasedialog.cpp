#include "productiondatabasedialog.h"

#include "corporatecolors.h"
#include "productionstore.h"
#include "storesettings.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QThread>
#include <QVBoxLayout>

ProductionDatabaseDialog::ProductionDatabaseDialog(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Production Database"));
    auto* layout = new QVBoxLayout(this);
    auto* intro =
        new QLabel(tr("Every run and every device's result is kept in the production database."), this);
    intro->setWordWrap(true);
    layout->addWidget(intro);

    defaultButton =
        new QRadioButton(tr("This station's own file (SQLite): %1")
                             .arg(QDir::toNativeSeparators(StoreLocation::defaultLocation().sqlitePath())),
                         this);
    defaultButton->setObjectName(QStringLiteral("defaultDatabaseRadioButton"));
    otherButton = new QRadioButton(tr("A shared server or another file:"), this);
    otherButton->setObjectName(QStringLiteral("otherDatabaseRadioButton"));
    urlEdit = new QLineEdit(this);
    urlEdit->setObjectName(QStringLiteral("databaseUrlLineEdit"));
    urlEdit->setPlaceholderText(QStringLiteral("postgresql://user@host:5432/production"));
    auto* hint =
        new QLabel(tr("postgresql://user@host:port/dbname, postgresql://user@/dbname?host=/socket/dir or "
                      "sqlite:PATH. The password is never stored here: the server's password is read "
                      "from ~/.pgpass or PGPASSWORD."),
                   this);
    hint->setWordWrap(true);
    layout->addWidget(defaultButton);
    layout->addWidget(otherButton);
    layout->addWidget(urlEdit);
    layout->addWidget(hint);

    testButton = new QPushButton(tr("Test Connection"), this);
    testButton->setObjectName(QStringLiteral("testConnectionButton"));
    resultLabel = new QLabel(this);
    resultLabel->setObjectName(QStringLiteral("connectionResultLabel"));
    resultLabel->setWordWrap(true);
    resultLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* testRow = new QHBoxLayout;
    testRow->addWidget(testButton);
    testRow->addStretch();
    layout->addLayout(testRow);
    layout->addWidget(resultLabel);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &ProductionDatabaseDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ProductionDatabaseDialog::reject);
    connect(testButton, &QPushButton::clicked, this, &ProductionDatabaseDialog::testConnection);
    connect(otherButton, &QRadioButton::toggled, this, &ProductionDatabaseDialog::updateState);
    connect(urlEdit, &QLineEdit::textEdited, this, [this] { resultLabel->clear(); });

    const QString current = StoreSettings::url();
    urlEdit->setText(current);
    (current.isEmpty() ? defaultButton : otherButton)->setChecked(true);
    updateState();
}

QString ProductionDatabaseDialog::url() const
{
    return otherButton->isChecked() ? urlEdit->text().trimmed() : QString();
}

void ProductionDatabaseDialog::updateState()
{
    urlEdit->setEnabled(otherButton->isChecked());
    resultLabel->clear();
}

void ProductionDatabaseDialog::showResult(bool ok, const QString& text)
{
    resultLabel->setText(text);
    QPalette palette = resultLabel->palette();
    palette.setColor(QPalette::WindowText, ok ? palette.color(QPalette::Text) : CORPORATE_RED);
    resultLabel->setPalette(palette);
}

void ProductionDatabaseDialog::testConnection()
{
    QString error;
    const StoreLocation location =
        url().isEmpty() ? StoreLocation::defaultLocation() : StoreLocation::fromUrl(url(), &error);
    if (!location.isValid()) {
        showResult(false, error);
        emit connectionTested(false);
        return;
    }
    showResult(true, tr("Connecting to %1...").arg(location.displayName()));
    testButton->setEnabled(false);
    ++testsRunning;
    // A server that does not answer takes seconds: the window goes on meanwhile.
    QPointer<ProductionDatabaseDialog> dialog(this);
    QThread* probe = QThread::create([dialog, location] {
        QString message;
        const bool ok = ProductionStore::check(location, &message);
        QMetaObject::invokeMethod(QCoreApplication::instance(), [dialog, ok, message] {
            if (!dialog)
                return;
            if (--dialog->testsRunning == 0)
                dialog->testButton->setEnabled(true);
            dialog->showResult(ok, message);
            emit dialog->connectionTested(ok);
        });
    });
    connect(probe, &QThread::finished, probe, &QObject::deleteLater);
    probe->start();
}

void ProductionDatabaseDialog::accept()
{
    QString error;
    if (!url().isEmpty() && !StoreLocation::fromUrl(url(), &error).isValid()) {
        showResult(false, error);
        return;
    }
    if (otherButton->isChecked() && url().isEmpty()) {
        showResult(false, tr("Enter the database's URL, or choose this station's own file."));
        return;
    }
    StoreSettings::setUrl(url());
    QDialog::accept();
}
