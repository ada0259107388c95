set(NETSVC_SOURCES
    netsvc/ConfigSections.cpp netsvc/ConfigSections.h
    netsvc/JoinedDomain.cpp netsvc/JoinedDomain.h
    netsvc/NetApi.cpp netsvc/NetApi.h
    netsvc/NetworkPaths.cpp netsvc/NetworkPaths.h
    netsvc/SambaShares.cpp netsvc/SambaShares.h
)
