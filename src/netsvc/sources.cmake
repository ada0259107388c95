set(NETSVC_SOURCES
    netsvc/JoinedDomain.cpp netsvc/JoinedDomain.h
    netsvc/NetApi.cpp netsvc/NetApi.h
    netsvc/NetworkPaths.cpp netsvc/NetworkPaths.h
)
