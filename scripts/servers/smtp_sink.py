"""SMTP sink on loopback: accepts mail with aiosmtpd and drops each message's exact bytes into the
recipient's Maildir, so the private Dovecot serves it over POP3.

Recipients whose local part starts with "reject" get 550 (what a real server says to an unknown
user). Any other address is accepted and delivered to the mailbox named by its local part when
that user exists, else to "catchall". AUTH PLAIN/LOGIN is offered without TLS and checked against
the same passwd-file Dovecot uses; sending without AUTH is allowed.

With --tls-cert and --tls-key the listener on --port offers STARTTLS and refuses mail and AUTH
until it is done, and --smtps-port adds a listener that speaks TLS from the first byte.

Run with /usr/bin/python3 (Debian's python3-aiosmtpd). Started and stopped by mailservers.sh.
"""

import argparse
import asyncio
import itertools
import os
import signal
import socket
import ssl
import time
import warnings

from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword

warnings.simplefilter("ignore", DeprecationWarning)  # aiosmtpd 1.4 warns about its own login_data
HOSTNAME = "kvmail-sink.localhost"  # explicit: no DNS lookup at start


def read_users(path):
    users = {}
    with open(path, encoding="utf-8") as f:
        for line in f:
            fields = line.rstrip("\n").split(":")
            if len(fields) >= 2 and fields[0]:
                password = fields[1]
                if password.startswith("{PLAIN}"):
                    password = password[len("{PLAIN}"):]
                users[fields[0]] = password
    return users


class MaildirDelivery:
    def __init__(self, root, users, owner):
        self.root = root
        self.users = users
        self.owner = owner  # (uid, gid) to hand files to when running as root, else None
        self.counter = itertools.count(1)

    def mailbox_for(self, address):
        local = address.rsplit("@", 1)[0].strip("<>").lower()
        return local if local in self.users else "catchall"

    def ensure_maildir(self, user):
        base = os.path.join(self.root, user)
        for sub in ("", "new", "cur", "tmp"):
            path = os.path.join(base, sub)
            if not os.path.isdir(path):
                os.makedirs(path, exist_ok=True)
                if self.owner:
                    os.chown(path, *self.owner)
        return base

    def deliver(self, user, data):
        base = self.ensure_maildir(user)
        name = "%d.P%dQ%06d.%s,S=%d" % (time.time_ns(), os.getpid(), next(self.counter),
                                      HOSTNAME, len(data))
        tmp = os.path.join(base, "tmp", name)
        with open(tmp, "wb") as f:
            f.write(data)
        os.chmod(tmp, 0o644)
        if self.owner:
            os.chown(tmp, *self.owner)
        os.rename(tmp, os.path.join(base, "new", name))

    # aiosmtpd handler hooks

    async def handle_RCPT(self, server, session, envelope, address, rcpt_options):
        local = address.rsplit("@", 1)[0].lower()
        if local.startswith("reject"):
            return "550 5.1.1 <%s>: Recipient address rejected: User unknown" % address
        envelope.rcpt_tos.append(address)
        return "250 2.1.5 OK"

    async def handle_DATA(self, server, session, envelope):
        data = envelope.original_content  # exact bytes, dot-unstuffed, CR LF kept
        try:
            for user in dict.fromkeys(self.mailbox_for(a) for a in envelope.rcpt_tos):
                self.deliver(user, data)
        except OSError as e:
            return "451 4.3.0 Local delivery failed: %s" % e.strerror
        return "250 2.0.0 OK: %d bytes delivered" % len(data)


class Authenticator:
    def __init__(self, users):
        self.users = users

    def __call__(self, server, session, envelope, mechanism, auth_data):
        if isinstance(auth_data, LoginPassword):
            login = auth_data.login.decode("utf-8", "replace")
            password = auth_data.password.decode("utf-8", "replace")
            if self.users.get(login) == password:
                return AuthResult(success=True, auth_data=auth_data)
        return AuthResult(success=False, handled=False)


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--port", type=int, required=True)
    ap.add_argument("--users", required=True, help="Dovecot passwd-file with {PLAIN} passwords")
    ap.add_argument("--maildir-root", required=True)
    ap.add_argument("--owner", help="uid:gid that delivered files belong to (when root)")
    ap.add_argument("--pid-file", required=True)
    ap.add_argument("--tls-cert", help="server certificate and its chain, PEM")
    ap.add_argument("--tls-key", help="the certificate's private key, PEM")
    ap.add_argument("--smtps-port", type=int, help="a listener with TLS from the first byte")
    args = ap.parse_args()
    if bool(args.tls_cert) != bool(args.tls_key) or (args.smtps_port and not args.tls_cert):
        ap.error("--tls-cert and --tls-key go together, and --smtps-port needs them")

    users = read_users(args.users)
    owner = None
    if args.owner and os.geteuid() == 0:
        uid, gid = args.owner.split(":")
        owner = (int(uid), int(gid))
    handler = MaildirDelivery(args.maildir_root, users, owner)
    authenticator = Authenticator(users)

    loop = asyncio.new_event_loop()
    asyncio.set_event_loop(loop)

    context = None
    if args.tls_cert:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.minimum_version = ssl.TLSVersion.TLSv1_2
        context.load_cert_chain(args.tls_cert, args.tls_key)

    def factory():
        # With a certificate: STARTTLS first, then AUTH and mail, as a careful server insists.
        return SMTP(handler, hostname=HOSTNAME, data_size_limit=None,
                    auth_require_tls=context is not None, tls_context=context,
                    require_starttls=context is not None, authenticator=authenticator, loop=loop)

    def implicit_factory():
        # The connection is encrypted already: no STARTTLS to offer, AUTH at once.
        return SMTP(handler, hostname=HOSTNAME, data_size_limit=None, auth_require_tls=False,
                    authenticator=authenticator, loop=loop)

    def listen(make, port, tls=None):
        return loop.run_until_complete(
            loop.create_server(make, host="127.0.0.1", port=port, family=socket.AF_INET,
                               reuse_address=True, ssl=tls))

    servers = [listen(factory, args.port)]
    if args.smtps_port:
        servers.append(listen(implicit_factory, args.smtps_port, context))
    with open(args.pid_file + ".tmp", "w") as f:
        f.write("%d\n" % os.getpid())
    os.rename(args.pid_file + ".tmp", args.pid_file)

    stop = loop.create_future()
    for sig in (signal.SIGTERM, signal.SIGINT):
        loop.add_signal_handler(sig, lambda: stop.done() or stop.set_result(None))
    print("smtp sink listening on 127.0.0.1:%d%s" % (
        args.port, " and SMTPS on %d" % args.smtps_port if args.smtps_port else ""), flush=True)
    loop.run_until_complete(stop)
    for server in servers:
        server.close()
        loop.run_until_complete(server.wait_closed())
    loop.close()


if __name__ == "__main__":
    main()
