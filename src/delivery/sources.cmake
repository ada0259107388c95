set(DELIVERY_SOURCES
    delivery/BooleanText.h
    delivery/MessageIntake.cpp delivery/MessageIntake.h
    delivery/Receipts.cpp delivery/Receipts.h
    delivery/Replication.cpp delivery/Replication.h
    delivery/Targeting.cpp delivery/Targeting.h
    delivery/Scheduler.cpp delivery/Scheduler.h
)
