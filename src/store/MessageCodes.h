#pragma once

#include <QtGlobal>

// The code values of DVMessage's enumerated fields. The record, the tables and
// the wire hold them as plain integers; these names are for the code.

enum MsgDeliveryCode : qint16 {
    DeliveryImmediate = 0,
    DeliveryLogon = 1,
    // Treated here exactly as DeliveryImmediate; the server alone tells them apart.
    DeliveryCertified = 2,
    DeliveryScheduled = 3,
};

enum RepeatStepCode : qint32 {
    RepeatMinutes = 0,
    RepeatHours = 1,
    RepeatDays = 2,
    RepeatWeeks = 3,
    RepeatMonths = 4,
    RepeatYears = 5,
    RepeatLogon = 6,
};

enum StatusCode : qint32 {
    StatusCancelled = 0,
    StatusActive = 1,
    StatusExpired = 2,
    StatusDeleted = 3,
    StatusFinished = 4,
    // Only on the wire: the receiver takes the message anew with StatusActive.
    StatusResubmitted = 5,
};

enum MsgActionCode : qint32 {
    ActionWaiting = 0,
    ActionQueued = 1,
    ActionDone = 2,
};
