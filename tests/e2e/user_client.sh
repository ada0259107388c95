#!/bin/sh
# Runs one client in a session bus of its own with a notification service that
# writes what it shows to a file: the desktop of one user in the two-user test.
#   user_client.sh NOTIFY_LOG FAKE_NOTIFYD CLIENT
exec dbus-run-session -- sh -c '"$2" "$1" & sleep 0.3; exec "$3"' sh "$1" "$2" "$3"
