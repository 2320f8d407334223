"""The local backend: what the console asks for, each operation a function of this module.

It runs in a child interpreter whose standard output carries the replies, so nothing here prints. Importing it reads no
file and starts nothing. What is slow to import is imported by the functions that need it.
"""

from __future__ import annotations

from .agents import (
    add_local_agent,
    adopt_local_agent,
    delete_local_agent,
    list_local_agents,
    rename_local_agent,
    sync_local_agents_to_core,
)
from .catalogue import refresh_cloud_skills_via_core
from .installs import (
    install_cloud_skill_from_core,
    install_openclaw_skill_zip,
    list_cloud_skills_via_core,
    list_core_agents,
)
from .models import (
    cancel_model_download,
    list_local_models,
    list_model_download_tasks,
    list_remote_models,
    start_model_download,
)
from .news import add_news_source, list_news_sources
from .runtime import (
    launch_openclaw_configure_interactive,
    launch_openclaw_install_or_configure_interactive,
    openclaw_runtime_status,
)
from .settings import load_nelo_settings, save_nelo_settings
from .skill_entries import get_skill_entry, save_skill_entry
from .skills import get_adapter_snapshot, list_skills

__all__ = [
    "add_local_agent",
    "add_news_source",
    "adopt_local_agent",
    "cancel_model_download",
    "delete_local_agent",
    "get_adapter_snapshot",
    "get_skill_entry",
    "install_cloud_skill_from_core",
    "install_openclaw_skill_zip",
    "launch_openclaw_configure_interactive",
    "launch_openclaw_install_or_configure_interactive",
    "list_cloud_skills_via_core",
    "list_core_agents",
    "list_local_agents",
    "list_local_models",
    "list_model_download_tasks",
    "list_news_sources",
    "list_remote_models",
    "list_skills",
    "load_nelo_settings",
    "openclaw_runtime_status",
    "refresh_cloud_skills_via_core",
    "rename_local_agent",
    "save_nelo_settings",
    "save_skill_entry",
    "start_model_download",
    "sync_local_agents_to_core",
]
