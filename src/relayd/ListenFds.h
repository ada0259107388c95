#pragma once

// The sockets the service manager opened for the relay service and handed to
// it (socket activation), so that they are root's from boot and no user can
// take them while the service starts or restarts.
struct ListenFds
{
    int datagram = -1; // the UDP order port
    int stream = -1;   // the local socket the clients follow
};

// What $LISTEN_FDS hands this process (none when $LISTEN_PID names another);
// the variables are cleared so that no child takes them for its own.
ListenFds takeListenFds();
