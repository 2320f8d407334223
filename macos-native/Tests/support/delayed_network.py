#!/usr/bin/env python3
"""delayed_network.py MILLISECONDS COMMAND...: runs a command in a network of its own, where this machine is known as 10.9.9.1
and also as 10.9.9.2, which is so many milliseconds of round trip away. Ends with the command's status.

Packets to 10.9.9.2 leave through a TUN device. They come back through it half a round trip later with their addresses
exchanged, so that they seem to come from there. On SIGUSR1 they are lost from then on, on SIGUSR2 no more. The command
finds the milliseconds in NELO_ROUND_TRIP and may mount what it likes.
"""
from __future__ import annotations

import fcntl
import os
import select
import signal
import struct
import subprocess
import sys
import time
from collections import deque
from pathlib import Path

TUNSETIFF = 0x400454CA
IFF_TUN, IFF_NO_PI = 0x1, 0x1000


def open_device() -> int:
    device = os.open("/dev/net/tun", os.O_RDWR)
    fcntl.ioctl(device, TUNSETIFF, struct.pack("16sH", b"delayed", IFF_TUN | IFF_NO_PI))
    # A connection that was idle is not to begin slowly again: how long it was idle is chance here. And every kernel can
    # control congestion the way that reno does.
    for setting, value in (("tcp_slow_start_after_idle", "0"), ("tcp_congestion_control", "reno")):
        Path("/proc/sys/net/ipv4", setting).write_text(value)
    for command in ("addr add 10.9.9.1/24 dev delayed", "link set delayed up", "link set lo up"):
        subprocess.run(["ip", *command.split()], check=True)
    return device


def carry_packets(device: int, one_way: float, command: subprocess.Popen[bytes]) -> int:
    is_lossy = False

    def set_lossy(number: int, _frame: object) -> None:
        nonlocal is_lossy
        is_lossy = number == signal.SIGUSR1

    signal.signal(signal.SIGUSR1, set_lossy)
    signal.signal(signal.SIGUSR2, set_lossy)
    ended = os.pidfd_open(command.pid)
    on_the_way: deque[tuple[float, bytes]] = deque()
    while True:
        timeout = max(0.0, on_the_way[0][0] - time.monotonic()) if on_the_way else None
        readable = select.select([device, ended], [], [], timeout)[0]
        if ended in readable:
            return command.wait()
        if device in readable:
            packet = os.read(device, 65536)
            if packet[0] >> 4 == 4 and not is_lossy:
                exchanged = packet[:12] + packet[16:20] + packet[12:16] + packet[20:]
                on_the_way.append((time.monotonic() + one_way, exchanged))
        while on_the_way and on_the_way[0][0] <= time.monotonic():
            os.write(device, on_the_way.popleft()[1])


def main(milliseconds: str, *command: str) -> int:
    if "NELO_ROUND_TRIP" not in os.environ:
        os.environ["NELO_ROUND_TRIP"] = milliseconds
        os.execvp("unshare", ["unshare", "--map-root-user", "--net", "--mount", *sys.argv])
    device = open_device()
    return carry_packets(device, int(milliseconds) / 2000, subprocess.Popen(command))


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
