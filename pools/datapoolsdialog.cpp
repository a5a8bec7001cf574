#include "datapoolsdialog.h"

#include "csvlistimport.h"
#include "poolcommandline.h"
#include "poolcountsreader.h"
#include "poolstoreconnection.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QSpinBox>
#include <QStandardItemModel>
#include <QTableView>
#include <QThread>
#include <QVBoxLayout>

DataPoolsDialog::DataPoolsDialog(QWidget* parent, const QString& storeUrl)
    : QDialog(parent), storeUrl(storeUrl)
{
    setWindowTitle(tr("Data Pools"));
    model = new QStandardItemModel(0, 8, this);
    model->setHorizontalHeaderLabels({tr("Name"), tr("Kind"), tr("Next Value"), tr("Left"), tr("Committed"),
                                      tr("Released"), tr("Voided"), tr("Reserved")});
    table = new QTableView(this);
    table->setObjectName(QStringLiteral("dataPoolsTableView"));
    table->setModel(model);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);

    nameEdit = new QLineEdit(this);
    nameEdit->setPlaceholderText(tr("unit_sn"));
    kindBox = new QComboBox(this);
    kindBox->addItem(tr("Counter"), QStringLiteral("--counter"));
    kindBox->addItem(tr("MAC block"), QStringLiteral("--mac"));
    kindBox->addItem(tr("List from CSV file"), QStringLiteral("--list"));
    rangeEdit = new QLineEdit(this);
    stepBox = new QSpinBox(this);
    stepBox->setRange(1, 1000000);
    formatEdit = new QLineEdit(this);
    formatEdit->setPlaceholderText(tr("e.g. HW-%06d"));
    fileEdit = new QLineEdit(this);
    browseButton = new QPushButton(tr("Browse..."), this);
    columnEdit = new QLineEdit(this);
    columnEdit->setPlaceholderText(tr("only for files of several columns"));
    ruleBox = new QComboBox(this);
    ruleBox->addItem(tr("Reuse the value"), QStringLiteral("reuse"));
    ruleBox->addItem(tr("Void the value"), QStringLiteral("void"));
    createButton = new QPushButton(tr("Create"), this);
    nameEdit->setObjectName(QStringLiteral("poolNameLineEdit"));
    kindBox->setObjectName(QStringLiteral("poolKindComboBox"));
    rangeEdit->setObjectName(QStringLiteral("poolRangeLineEdit"));
    formatEdit->setObjectName(QStringLiteral("poolFormatLineEdit"));
    fileEdit->setObjectName(QStringLiteral("poolFileLineEdit"));

    auto* fileRow = new QHBoxLayout;
    fileRow->addWidget(fileEdit);
    fileRow->addWidget(browseButton);
    auto* form = new QFormLayout;
    form->addRow(tr("Name:"), nameEdit);
    form->addRow(tr("Kind:"), kindBox);
    form->addRow(tr("First..last:"), rangeEdit);
    form->addRow(tr("Step:"), stepBox);
    form->addRow(tr("Format:"), formatEdit);
    form->addRow(tr("CSV file:"), fileRow);
    form->addRow(tr("Column:"), columnEdit);
    form->addRow(tr("When a device fails:"), ruleBox);
    form->addRow(QString(), createButton);
    auto* create = new QGroupBox(tr("New data pool, or more values for one"), this);
    create->setLayout(form);

    message = new QLabel(this);
    message->setWordWrap(true);
    exportButton = new QPushButton(tr("Export Used Values..."), this);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->addButton(exportButton, QDialogButtonBox::ActionRole);
    auto* refreshButton = buttons->addButton(tr("Refresh"), QDialogButtonBox::ActionRole);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(table, 1);
    layout->addWidget(create);
    layout->addWidget(message);
    layout->addWidget(buttons);

    reader = new PoolCountsReader(this);
    connect(reader, &PoolCountsReader::countsRead, this, &DataPoolsDialog::showPools);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(refreshButton, &QPushButton::clicked, this, &DataPoolsDialog::refresh);
    connect(createButton, &QPushButton::clicked, this, &DataPoolsDialog::createPool);
    connect(exportButton, &QPushButton::clicked, this, &DataPoolsDialog::exportUsedValues);
    connect(browseButton, &QPushButton::clicked, this, &DataPoolsDialog::browseForList);
    connect(kindBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &DataPoolsDialog::kindChanged);
    kindChanged();
    resize(900, 600);
    refresh();
}

DataPoolsDialog::~DataPoolsDialog()
{
    if (worker)
        worker->wait();
}

QStringList DataPoolsDialog::definitionArguments() const
{
    const QString kind = kindBox->currentData().toString();
    QStringList arguments{QStringLiteral("harnwick"), QStringLiteral("--pool-define"),
                          nameEdit->text().trimmed(), kind};
    if (kind == QLatin1String("--list")) {
        arguments << fileEdit->text();
        if (!columnEdit->text().trimmed().isEmpty())
            arguments << QStringLiteral("--column") << columnEdit->text().trimmed();
    } else {
        arguments << rangeEdit->text().trimmed();
        if (stepBox->value() != 1)
            arguments << QStringLiteral("--step") << QString::number(stepBox->value());
        if (kind == QLatin1String("--counter") && !formatEdit->text().isEmpty())
            arguments << QStringLiteral("--format") << formatEdit->text();
    }
    arguments << QStringLiteral("--on-failure") << ruleBox->currentData().toString();
    return arguments;
}

void DataPoolsDialog::kindChanged()
{
    const QString kind = kindBox->currentData().toString();
    const bool list = kind == QLatin1String("--list");
    rangeEdit->setEnabled(!list);
    stepBox->setEnabled(!list);
    formatEdit->setEnabled(kind == QLatin1String("--counter"));
    fileEdit->setEnabled(list);
    browseButton->setEnabled(list);
    columnEdit->setEnabled(list);
    rangeEdit->setPlaceholderText(kind == QLatin1String("--mac") ? tr("02:1A:00:00:00:00..02:1A:00:00:FF:FF")
                                                                 : tr("1..50000"));
    // Lists typically hold keys, used once; counters and addresses come back.
    ruleBox->setCurrentIndex(list ? 1 : 0);
}

void DataPoolsDialog::browseForList()
{
    const QString file = QFileDialog::getOpenFileName(this, tr("Import Values"), QString(),
                                                      tr("CSV files (*.csv);;All files (*)"));
    if (!file.isEmpty())
        fileEdit->setText(file);
}

void DataPoolsDialog::refresh()
{
    reader->read(storeUrl);
}

void DataPoolsDialog::showPools(const QList<PoolCounts>& pools, const QString& error)
{
    if (!error.isEmpty())
        showMessage(error, true);
    model->removeRows(0, model->rowCount());
    for (const PoolCounts& pool : pools) {
        const QString kind = pool.kind == PoolDefinition::Mac
                                 ? tr("MAC block")
                                 : (pool.kind == PoolDefinition::List ? tr("list") : tr("counter"));
        QList<QStandardItem*> row{new QStandardItem(pool.name), new QStandardItem(kind),
                                  new QStandardItem(pool.nextValue)};
        for (qint64 count : {pool.left, pool.committed, pool.released, pool.voided, pool.reserved}) {
            auto* item = new QStandardItem(QString::number(count));
            item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            row << item;
        }
        model->appendRow(row);
    }
    table->resizeColumnsToContents();
    emit poolsShown();
}

void DataPoolsDialog::showMessage(const QString& text, bool error)
{
    message->setText(error ? tr("ERROR: %1").arg(text) : text);
    message->setStyleSheet(error ? QStringLiteral("color: rgb(217, 30, 42);") : QString());
}

void DataPoolsDialog::runInBackground(const std::function<QString()>& work, const QString& done)
{
    if (worker)
        return;
    createButton->setEnabled(false);
    exportButton->setEnabled(false);
    worker = QThread::create([this, work, done] {
        const QString error = work();
        QMetaObject::invokeMethod(
            this,
            [this, error, done] {
                showMessage(error.isEmpty() ? done : error, !error.isEmpty());
                refresh();
            },
            Qt::QueuedConnection);
    });
    connect(worker, &QThread::finished, this, [this] {
        worker->deleteLater();
        worker = nullptr;
        createButton->setEnabled(true);
        exportButton->setEnabled(true);
    });
    worker->start();
}

void DataPoolsDialog::createPool()
{
    PoolCommandLine::Request request;
    QString error;
    if (!PoolCommandLine::parse(definitionArguments(), &request, &error)) {
        showMessage(error, true);
        return;
    }
    const QString url = storeUrl;
    runInBackground(
        [request, url]() mutable {
            QString why;
            if (request.definition.kind == PoolDefinition::List &&
                !CsvListImport::readFile(request.listFile, request.column, &request.definition.values, &why))
                return why;
            PoolStoreConnection connection;
            if (!connection.open(url, &why) || !connection.pools().define(request.definition, &why))
                return why;
            return QString();
        },
        tr("The data pool \"%1\" is ready.").arg(request.definition.name));
}

void DataPoolsDialog::exportUsedValues()
{
    const QModelIndexList selected = table->selectionModel()->selectedRows(0);
    if (selected.isEmpty()) {
        showMessage(tr("Select the data pool whose used values to export."), true);
        return;
    }
    const QString pool = selected.first().data().toString();
    const QString file = QFileDialog::getSaveFileName(
        this, tr("Export Used Values"), QStringLiteral("%1-used.csv").arg(pool), tr("CSV files (*.csv)"));
    if (file.isEmpty())
        return;
    const QString url = storeUrl;
    runInBackground(
        [pool, file, url] {
            QString why;
            PoolStoreConnection connection;
            QList<QStringList> rows;
            if (!connection.open(url, &why) || !connection.pools().committedValues(pool, &rows, &why))
                return why;
            QSaveFile out(file);
            if (!out.open(QIODevice::WriteOnly))
                return tr("Cannot write \"%1\": %2").arg(file, out.errorString());
            out.write("value,device_id,run_id\n");
            for (const QStringList& row : qAsConst(rows)) {
                QStringList fields;
                for (const QString& field : row)
                    fields << CsvListImport::quoted(field);
                out.write(fields.join(QLatin1Char(',')).toUtf8() + '\n');
            }
            if (!out.commit())
                return tr("Cannot write \"%1\": %2").arg(file, out.errorString());
            return QString();
        },
        tr("The used values of \"%1\" are in \"%2\".").arg(pool, file));
}
