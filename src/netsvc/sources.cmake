list(APPEND ENGINE_SOURCES
    netsvc/NetApi.cpp netsvc/NetApi.h
    netsvc/NetworkPaths.cpp netsvc/NetworkPaths.h
)
