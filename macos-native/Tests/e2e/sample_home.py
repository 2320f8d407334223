"""A home folder with something for every window to show."""
from __future__ import annotations

import json
from pathlib import Path

from agent_files import write_codex_agent, write_kimi_agent
from skill_packages import WEATHER

FORECAST = WEATHER.replace("name: weather", "name: forecast")
CONFIGURATION = """\
{
  "agents": {
    "entries": {
      "pilot": {
        "workspace": "~/.openclaw/workspace"
      }
    }
  },
  "gateway": {"port": 18789}
}
"""


def make_agents(home: Path) -> None:
    write_codex_agent(home, "侦察员")
    write_kimi_agent(home, "scout")
    (home / ".openclaw/workspace").mkdir(parents=True)
    (home / ".openclaw/openclaw.json").write_text(CONFIGURATION)


def make_skills(home: Path, catalogue: str) -> None:
    documents = {
        "plain": "---\nname: plain\ndescription: Needs nothing.\n---\n",
        "social-media-alert": "---\nname: social-media-alert\ndescription: Watches the news.\n---\n",
        "verbose": verbose_document(),
        "weather": WEATHER,
    }
    for name, document in documents.items():
        folder = home / ".openclaw/skills" / name
        folder.mkdir(parents=True)
        (folder / "SKILL.md").write_text(document)
    (home / ".nelo").mkdir(exist_ok=True)
    (home / ".nelo/settings.json").write_text(json.dumps({"cloud_skills": {"catalog_url": catalogue}}))


def verbose_document() -> str:
    """A skill with a long description, Chinese and Latin, that needs forty variables with long names."""
    variables = [f"VERBOSE_SKILL_VARIABLE_NUMBER_{number}_长名" for number in range(40)]
    metadata = json.dumps({"openclaw": {"requires": {"env": variables}, "primaryEnv": variables[0]}})
    return f"---\nname: verbose\ndescription: {'很长的说明, a long description. ' * 400}\nmetadata: {metadata}\n---\n"
