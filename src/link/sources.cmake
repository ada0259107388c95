set(LINK_SOURCES
    link/ByteQueue.cpp link/ByteQueue.h
    link/CommandDispatcher.cpp link/CommandDispatcher.h
    link/ConnectionManager.cpp link/ConnectionManager.h
    link/KeepAlive.cpp link/KeepAlive.h
    link/LinkWakeups.cpp link/LinkWakeups.h
    link/RouteWatch.cpp link/RouteWatch.h
    link/Cp1252.cpp link/Cp1252.h
    link/Encryption.cpp link/Encryption.h
    link/OutgoingText.cpp link/OutgoingText.h
    link/LinkCommands.cpp link/LinkCommands.h
    link/Queue.h
    link/Commands.cpp link/Commands.h
    link/Policies.cpp link/Policies.h
    link/ServerConfig.cpp link/ServerConfig.h
    link/RelayFrames.cpp link/RelayFrames.h
    link/UdpOrderFilter.cpp link/UdpOrderFilter.h
    link/UdpOrderRelay.cpp link/UdpOrderRelay.h
)
