#include "stationtiletext.h"

StationTileText StationTileText::of(StationSlot::State state, int action, int actionCount, int percent,
                                    const QString& reason)
{
    // The reason may be the tool's whole message: its first non-empty line is what fits on a tile.
    QString firstLine;
    for (const QString& line : reason.split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty()) {
            firstLine = line.trimmed();
            break;
        }
    }
    switch (state) {
    case StationSlot::State::Ready:
        return {tr("READY"), Shape::Ring, tr("Waiting for a board")};
    case StationSlot::State::Running: {
        if (action <= 0 || actionCount <= 0)
            return {tr("RUNNING"), Shape::Triangle, tr("Starting")};
        QString detail = tr("action %1 of %2").arg(qMin(action, actionCount)).arg(actionCount);
        if (percent >= 0)
            detail += tr(", %1%").arg(qBound(0, percent, 100));
        return {tr("RUNNING"), Shape::Triangle, detail};
    }
    case StationSlot::State::Pass:
        return {tr("PASS"), Shape::Disc, tr("Take the board out")};
    case StationSlot::State::Fail:
        return {tr("FAIL"), Shape::Cross, firstLine.isEmpty() ? tr("No reason given") : firstLine};
    case StationSlot::State::Interrupted:
        return {tr("INTERRUPTED"), Shape::Square,
                firstLine.isEmpty() ? tr("Take the board out or re-arm the slot")
                                    : tr("%1; take the board out or re-arm the slot").arg(firstLine)};
    case StationSlot::State::NotAllowed:
        return {tr("NOT ALLOWED"), Shape::Bar, tr("This adapter is not one of the job's")};
    }
    return {};
}
