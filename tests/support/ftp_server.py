"""An FTP server on the loopback interface: ftp_server.py FOLDER USER PASSWORD

Prints its port, then one line per command that a client sends, without passwords. Ends when its input does.
"""
import logging
import os
import sys
import threading

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer


def say(line):
    print(line, flush=True)


class Handler(FTPHandler):
    auth_failed_timeout = 0

    def pre_process_command(self, line, command, argument):
        say("PASS" if command == "PASS" else line)
        super().pre_process_command(line, command, argument)


def end_with_input():
    sys.stdin.buffer.read()
    os._exit(0)


def main():
    folder, user, password = sys.argv[1:]
    logging.basicConfig(level=logging.CRITICAL)
    sys.stdout.reconfigure(encoding="utf-8")
    Handler.authorizer = DummyAuthorizer()
    Handler.authorizer.add_user(user, password, folder, perm="elr")
    server = FTPServer(("127.0.0.1", 0), Handler)
    say(server.address[1])
    threading.Thread(target=end_with_input, daemon=True).start()
    server.serve_forever()


main()
