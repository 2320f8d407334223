"""Fetching a document from an address that a user or a catalogue named."""

from __future__ import annotations

import contextlib
import re
import threading
import time

from . import arguments, files
from .errors import reason

TYPE_CHECKING = False
if TYPE_CHECKING:  # for the type checker only: importing typing, too, is slow
    from http.client import HTTPResponse

_CHUNK = 64 * 1024
_MAX_REDIRECTS = 10
_REDIRECTS = (("http", "http"), ("http", "https"), ("https", "https"))
"""The schemes from which and to which a redirect is followed."""


_USER = re.compile(r"\A((?:[A-Za-z][\w+.-]*:)?/+|)[^/]*@")
"""A user name and a password, also in an address without a scheme, which may be a mistyped one."""


class FetchError(Exception):
    """Why a document was not fetched. The message is the end of a sentence, without the full stop."""


def fetch(address: str, seconds: float, limit: int) -> bytes:
    """The bytes at an http, https or file address.

    `seconds` limits everything, also name resolution and a slow server. `limit` is how many bytes are accepted. The
    system's proxies are used, but never for this machine itself. A redirect may change the scheme from http to https
    only. An address with a user name or a password is refused: the libraries would look it up as a part of the host's
    name. Raises `FetchError`.
    """
    outcome: list[bytes | Exception] = []
    deadline = time.monotonic() + seconds

    def work() -> None:
        try:
            outcome.append(_read(address, deadline, limit))
        except Exception as error:
            outcome.append(error)

    # A thread is used because it can be abandoned: name resolution and a slow read have no limit for the whole time.
    thread = threading.Thread(target=work, name="fetch", daemon=True)
    thread.start()
    thread.join(seconds)
    answer = outcome[0] if outcome else None
    if isinstance(answer, bytes):
        return answer
    if answer is not None and time.monotonic() < deadline:
        raise answer
    raise FetchError(f"it did not arrive within {seconds:g} seconds")


def shown(address: str) -> str:
    """An address for a sentence, without user name, password, query and fragment: they may hold secrets."""
    place = address.partition("?")[0].partition("#")[0]
    return arguments.shortened(_USER.sub(r"\1", place, count=1))


def is_loopback(host: str) -> bool:
    """Whether a host name or address means this machine."""
    import ipaddress

    name = host.strip("[]").lower()
    if name == "localhost" or name.endswith(".localhost"):
        return True
    with contextlib.suppress(ValueError):
        return ipaddress.ip_address(name).is_loopback
    return False


def _read(address: str, deadline: float, limit: int) -> bytes:
    from urllib.parse import urlsplit

    try:
        parts = urlsplit(address)
    except ValueError as error:
        raise FetchError("it is not a valid address") from error
    if parts.scheme == "file":
        return _read_file(parts.netloc, parts.path, limit)
    if parts.scheme in ("http", "https") and parts.netloc:
        return _read_http(address, deadline, limit)
    raise FetchError("the address must begin with http://, https:// or file://")


def _read_file(host: str, path: str, limit: int) -> bytes:
    from urllib.parse import unquote

    if host not in ("", "localhost"):
        raise FetchError("a file address may not name another machine")
    try:
        content = files.read_file(unquote(path), limit + 1)
    except OSError as error:
        raise FetchError(reason(error)) from error
    except ValueError as error:
        raise FetchError("it is not a valid address") from error
    if content is None:
        raise FetchError("there is no such file")
    if len(content) > limit:
        raise _too_large(limit)
    return content


def _read_http(address: str, deadline: float, limit: int) -> bytes:
    import http.client
    import urllib.error

    try:
        with _follow(address, deadline) as response:
            return _read_body(response, deadline, limit)
    except urllib.error.URLError as error:
        cause = error.reason
        raise FetchError(reason(cause) if isinstance(cause, OSError) else str(cause)) from error
    except OSError as error:
        raise FetchError(reason(error)) from error
    except (ValueError, http.client.InvalidURL) as error:
        raise FetchError("it is not a valid address") from error
    except http.client.HTTPException as error:
        raise FetchError("the server broke off, or does not speak HTTP") from error


def _follow(address: str, deadline: float) -> HTTPResponse:
    """The response at the end of all redirects."""
    import urllib.error
    from urllib.parse import urljoin, urlsplit

    asked = address
    for _ in range(_MAX_REDIRECTS):
        try:
            return _open(asked, max(0.1, deadline - time.monotonic()))
        except urllib.error.HTTPError as error:
            error.close()
            target = error.headers.get("Location") if error.code in (301, 302, 303, 307, 308) else None
            if not target:
                raise FetchError(f"the server answered with HTTP {error.code}") from error
        before, asked = asked, urljoin(asked, target)
        if (urlsplit(before).scheme, urlsplit(asked).scheme) not in _REDIRECTS:
            raise FetchError(f"the server redirects to another kind of address, {shown(asked)}")
    raise FetchError("the server redirects without end")


def _open(address: str, seconds: float) -> HTTPResponse:
    import urllib.request as request
    from urllib.parse import quote, urlsplit

    if "@" in urlsplit(address).netloc:
        raise FetchError("the address may not hold a user name or a password")
    director = request.OpenerDirector()
    for handler in (
        request.ProxyHandler({} if is_loopback(urlsplit(address).hostname or "") else None),
        request.HTTPHandler(),
        request.HTTPSHandler(),
        request.HTTPErrorProcessor(),
        request.HTTPDefaultErrorHandler(),
    ):
        director.add_handler(handler)
    # Whatever may stand in an address stays as it is; blanks and foreign letters are escaped.
    response: HTTPResponse = director.open(quote(address, safe="%/:=&?~#+!$,;'@()*[]"), timeout=seconds)
    return response


def _read_body(response: HTTPResponse, deadline: float, limit: int) -> bytes:
    body = bytearray()
    while len(body) <= limit:
        chunk = response.read1(_CHUNK)
        if not chunk and response.length:
            raise FetchError("the server broke off in the middle")
        if not chunk:
            return bytes(body)
        if time.monotonic() > deadline:
            raise FetchError("it is late")
        body += chunk
    raise _too_large(limit)


def _too_large(limit: int) -> FetchError:
    return FetchError(f"it is larger than {limit // 1_000_000} MB")
