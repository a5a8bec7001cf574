// Prints how long the device table takes to take in large discovery replies:
// the reply reading, the merge scan, the connection boxes, column sizing and
// the first paint afterwards. Run with QT_QPA_PLATFORM=offscreen.

#include "../benchreplies.h"
#include "bulkoperationswidget.h"
#include "corvanereplies.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardItemModel>
#include <QTextStream>

namespace {

CorvaneProcessResult result(const QString& id, const QByteArray& output)
{
    CorvaneProcessResult finished;
    finished.id = id;
    finished.exitCode = 0;
    finished.stdoutData = output;
    return finished;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QTextStream out(stdout);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 1000;

    BulkOperationsWidget page;
    page.resize(1400, 900);
    page.show();
    QApplication::processEvents();
    auto* model = page.findChild<QStandardItemModel*>(QStringLiteral("deviceSelectorModel"));

    const QByteArray usbReply = benchListReply(count, 801000000, false);
    // The network search sees the second half of the USB adapters again and as
    // many new ones: half the rows merge.
    const QByteArray ipReply = benchListReply(count, 801000000 + quint32(count / 2), true);

    QElapsedTimer clock;
    clock.start();
    const auto parsed = CorvaneReplies::readDiscoveryReply(0, usbReply);
    out << "read reply of " << parsed.adapters.size() << " adapters: " << clock.elapsed() << " ms\n";

    clock.restart();
    page.deviceSelectorParseDiscoveredDevices(result(CorvaneReplies::usbDiscoveryTaskId, usbReply));
    const qint64 usbMs = clock.elapsed();
    QApplication::processEvents();
    out << "USB reply of " << count << " adapters into an empty table: " << usbMs << " ms, with the paint "
        << clock.elapsed() << " ms (" << model->rowCount() << " rows)\n";

    clock.restart();
    page.deviceSelectorParseDiscoveredDevices(result(CorvaneReplies::ipDiscoveryTaskId, ipReply));
    const qint64 ipMs = clock.elapsed();
    QApplication::processEvents();
    out << "IP reply of " << count << " adapters, " << count / 2 << " of them merged: " << ipMs
        << " ms, with the paint " << clock.elapsed() << " ms (" << model->rowCount() << " rows)\n";

    clock.restart();
    for (int i = 0; i < 100; ++i)
        page.addDeviceToTable(QString::number(900000000 + i), QString(), QString(), QString(), true, false,
                              false, true);
    out << "100 single rows added one by one to " << model->rowCount() - 100 << " rows: " << clock.elapsed()
        << " ms\n";
    out.flush();
    return 0;
}
