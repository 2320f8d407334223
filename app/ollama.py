"""The local model server, by the interface in https://github.com/ollama/ollama/blob/main/docs/api.md"""

from __future__ import annotations

import os
import re

from . import web
from .documents import parse_json
from .errors import BackendError, reason

TYPE_CHECKING = False
if TYPE_CHECKING:  # for the type checker only: importing it is slow
    from http.client import HTTPConnection

ANSWER_SECONDS = 10.0
"""How long the server may take to answer a question."""

CONNECT_SECONDS = 5.0
"""How long the server may take to accept a connection."""

_ANSWER_BYTES = 10_000_000
"""How many bytes of an answer are read at most."""

_DEFAULT_PORT = 11434


def server_address(text: str) -> str:
    """The server's address, without a final slash, for a value of OLLAMA_HOST: a host, host:port or a URL.

    As for the server's own client, an empty value means this machine, and a URL without a port means the port of its
    scheme. An address that only a server can listen on means this machine too. The path is percent-encoded. Raises
    `BackendError`.
    """
    from urllib.parse import quote, urlsplit

    value = text.strip().strip("\"'")
    scheme, separator, rest = value.partition("://")
    if not separator:
        scheme, rest = "http", value
    ports = {"http": 80 if separator else _DEFAULT_PORT, "https": 443}
    place, _, path = rest.partition("/")
    if place.count(":") > 1 and not place.startswith("["):
        place = f"[{place}]"
    try:
        parts = urlsplit(f"//{place}")
        host = {"": "127.0.0.1", "0.0.0.0": "127.0.0.1", "::": "::1"}.get(parts.hostname or "", parts.hostname)
        port = parts.port or ports[scheme]
    except (ValueError, KeyError) as error:
        raise BackendError(
            "OLLAMA_HOST is not understood. Set it to a host, a host and port such as 127.0.0.1:11434, or a URL."
        ) from error
    shown_host = f"[{host}]" if host and ":" in host else host
    shown_path = quote(os.fsencode(path), safe="%/:=&?~#+!$,;'@()*[]")  # what is escaped already stays so
    return f"{scheme}://{shown_host}:{port}/{shown_path}".rstrip("/")


def current_address() -> str:
    """The server's address now."""
    return server_address(os.environ.get("OLLAMA_HOST", ""))


def installed_models(seconds: float = ANSWER_SECONDS) -> list[dict[str, object]]:
    """The models of the server, as it describes them. Raises `BackendError` when it does not answer in time."""
    address = current_address()
    try:
        content = web.fetch(f"{address}/api/tags", seconds, _ANSWER_BYTES)
    except web.FetchError as error:
        raise _no_server(address, str(error)) from error
    try:
        answer = parse_json(content)
    except ValueError:
        answer = None
    models = answer.get("models") if isinstance(answer, dict) else None
    if not isinstance(models, list):
        raise BackendError(f"The server at {web.shown(address)} does not answer as a model server. Check OLLAMA_HOST.")
    return [model for model in models if isinstance(model, dict)]


def connect(address: str) -> HTTPConnection:
    """An open connection to the server, without any proxy. Raises `BackendError` when nobody answers."""
    import http.client
    from urllib.parse import urlsplit

    parts = urlsplit(address)
    kind = http.client.HTTPSConnection if parts.scheme == "https" else http.client.HTTPConnection
    try:
        connection: HTTPConnection = kind(parts.hostname or "", parts.port, timeout=CONNECT_SECONDS)
        connection.connect()
    except OSError as error:
        raise _no_server(address, reason(error)) from error
    except (ValueError, http.client.HTTPException) as error:
        raise _no_server(address, "it is not a valid address") from error
    return connection


def full_name(model: str) -> str:
    """A model's name with its tag: the server takes a name without one as the latest."""
    return model if ":" in model else f"{model}:latest"


def readable_size(size: object) -> str:
    """A number of bytes as the server's own tool writes it, for example "5.2 GB"; empty for anything else."""
    if isinstance(size, bool) or not isinstance(size, (int, float)) or size < 0:
        return ""
    for unit, bytes_each in (("TB", 10**12), ("GB", 10**9), ("MB", 10**6), ("KB", 10**3)):
        if size >= bytes_each:
            amount = size / bytes_each
            return f"{amount:.1f} {unit}" if amount < 10 else f"{amount:.0f} {unit}"
    return f"{size:.0f} B"


def short_time(moment: object) -> str:
    """The server's time without the fraction of a second. Empty when it is no text."""
    return re.sub(r"\.\d+", "", moment) if isinstance(moment, str) else ""


def _no_server(address: str, why: str) -> BackendError:
    return BackendError(
        f"No local model server answers at {web.shown(address)}: {why}. "
        "Start Ollama, or set OLLAMA_HOST to where it runs."
    )
