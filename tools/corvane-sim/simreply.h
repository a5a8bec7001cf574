#pragma once

#include "simfault.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>

// Turns a JSON reply into the bytes printed, bent by the reply faults (members removed, "success"
// false, an unknown IP address, strings that are not UTF-8, or no JSON at all).
class SimReply
{
public:
    static QByteArray render(QJsonObject reply, const QList<SimFault>& faults);

    // The faults that concern one element of a reply (an adapter's entry in the adapter list):
    // missing members and strings that are not UTF-8.
    static void shapeElement(QJsonObject& element, const QList<SimFault>& faults);
};
