list(APPEND ENGINE_SOURCES
    netsvc/NetApi.cpp netsvc/NetApi.h
)
