"""Language models: a short list of remote ones, and those that the local model server has and downloads."""

from __future__ import annotations

from . import arguments, ollama
from .downloads import Downloads
from .errors import BackendError

REMOTE_MODELS = (
    ("qwen3:30b", "Alibaba", "19 GB", ("qwen3", "chat")),
    ("qwen3:8b", "Alibaba", "5.2 GB", ("qwen3", "chat")),
    ("qwen3-coder:30b", "Alibaba", "19 GB", ("qwen3", "code")),
    ("deepseek-r1:8b", "DeepSeek", "5.2 GB", ("deepseek", "reasoning")),
    ("llama3.2:3b", "Meta", "2.0 GB", ("llama", "chat")),
    ("gemma3:4b", "Google", "3.3 GB", ("gemma", "chat", "vision")),
)
"""Name, provider, size of the download, and tags of models that the server's public library offers."""

INSTALLED_SECONDS = 2.0
"""How long `list_remote_models` waits for the server to say what is installed."""

_DOWNLOADS = Downloads()


def list_remote_models() -> list[dict[str, object]]:
    """The models that can be downloaded. Each row has "name", "provider", "size", "tags" and "installed".

    "installed" is true when the local server says that it has the model; a server that does not answer is no failure.
    """
    try:
        names = {ollama.full_name(str(model.get("name"))) for model in ollama.installed_models(INSTALLED_SECONDS)}
    except BackendError:
        names = set()
    return [
        {"name": name, "provider": provider, "size": size, "tags": list(tags), "installed": name in names}
        for name, provider, size, tags in REMOTE_MODELS
    ]


def list_local_models() -> list[dict[str, object]]:
    """The models that the local server has. Each row has "name", "size" and "modifiedAt"; empty text means unknown.

    Raises `BackendError` when the server does not answer.
    """
    return [
        {
            "name": model["name"],
            "size": ollama.readable_size(model.get("size")),
            "modifiedAt": ollama.short_time(model.get("modified_at")),
        }
        for model in ollama.installed_models()
        if isinstance(model.get("name"), str)
    ]


def list_model_download_tasks() -> list[dict[str, object]]:
    """The downloads since this process started. Each row has "id", "model", "status", "updatedAt" and "lastLine"."""
    return _DOWNLOADS.rows()


def start_model_download(name: object) -> dict[str, object]:
    """Ask the local server to download a model, and return the row of the download. Does not wait for its end.

    Raises `BackendError` when the name is empty or the server does not answer.
    """
    return _DOWNLOADS.start(arguments.filled_text(name, "model's name"))


def cancel_model_download(task_id: object) -> dict[str, object]:
    """Cancel a download and return its row. Raises `BackendError` when there is none, or when it has ended."""
    return _DOWNLOADS.cancel(arguments.filled_text(task_id, "download's id"))
