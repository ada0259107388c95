list(APPEND ENGINE_SOURCES
    link/ByteQueue.cpp link/ByteQueue.h
    link/Cp1252.cpp link/Cp1252.h
    link/Encryption.cpp link/Encryption.h
    link/Queue.h
)
