list(APPEND ENGINE_SOURCES
    delivery/MessageIntake.cpp delivery/MessageIntake.h
    delivery/Replication.cpp delivery/Replication.h
    delivery/Targeting.cpp delivery/Targeting.h
    delivery/Scheduler.cpp delivery/Scheduler.h
)
