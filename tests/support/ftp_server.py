"""An FTP server on the loopback interface: ftp_server.py PORT FOLDER USER PASSWORD

Connects to PORT, tells its own port there, then one line per command that a client sends, without passwords; or, as the
only line, "no pyftpdlib" where that package is missing. Ends when the connection does.
"""
import logging
import os
import socket
import sys
import threading

test = socket.create_connection(("127.0.0.1", int(sys.argv[1])))


def say(line):
    test.sendall(f"{line}\n".encode())


try:
    from pyftpdlib.authorizers import DummyAuthorizer
    from pyftpdlib.handlers import FTPHandler
    from pyftpdlib.servers import FTPServer
except ImportError:
    say("no pyftpdlib")
    sys.exit()


class Handler(FTPHandler):
    auth_failed_timeout = 0

    def pre_process_command(self, line, command, argument):
        say("PASS" if command == "PASS" else line)
        super().pre_process_command(line, command, argument)


def end_with_connection():
    try:
        while test.recv(4096):
            pass
    finally:
        os._exit(0)


def main():
    folder, user, password = sys.argv[2:]
    logging.basicConfig(level=logging.CRITICAL)
    Handler.authorizer = DummyAuthorizer()
    Handler.authorizer.add_user(user, password, folder, perm="elr")
    server = FTPServer(("127.0.0.1", 0), Handler)
    say(server.address[1])
    threading.Thread(target=end_with_connection, daemon=True).start()
    server.serve_forever()


main()
