"""Agents and skills of every kind that codex and kimi treat in a way of their own, as files below a home folder.

The programs were asked what they make of them; the answers are in recorded/.
"""

from __future__ import annotations


def skill(name: str = "", description: str = "d", more: str = "") -> str:
    """The text of a SKILL.md."""
    lines = [f"name: {name}"] * bool(name) + [f"description: {description}"] * bool(description) + [more] * bool(more)
    return "\n".join(["---", *lines, "---", "Text.", ""])


def codex_agent(name: str = "good", more: str = "") -> str:
    return f'name = "{name}"\ndescription = "d"\ndeveloper_instructions = "x"\n{more}'


def kimi_agent(name: str = "good", more: str = "", body: str = "Be good.") -> str:
    return f"---\nname: {name}\ndescription: d\n{more}---\n\n{body}\n"


_SKILLS = {
    "alpha/SKILL.md": skill("alpha"),
    "alpha/inner/SKILL.md": skill("inner"),
    "noname/SKILL.md": skill(),
    "nodescription/SKILL.md": skill("nodescription", ""),
    "notext/SKILL.md": "just text\n",
    "colon/SKILL.md": skill("colon", "Use it: always"),
    "first/SKILL.md": skill("same"),
    "second/SKILL.md": skill("same"),
    "deep/2/3/4/5/6/SKILL.md": skill("six"),
    "deep/2/3/4/5/x/7/SKILL.md": skill("seven"),
    ".hidden/SKILL.md": skill("hidden"),
    "flat.md": skill("flatname"),
    "plain.md": "just text\n",
    "folder/flat.md": skill("flatinside"),
    "long/SKILL.md": skill("n" * 65),
    "node_modules/package/SKILL.md": skill("package"),
}

CODEX = {
    **{f".codex/skills/{name}": text for name, text in _SKILLS.items()},
    ".agents/skills/shared/SKILL.md": skill("shared"),
    ".codex/agents/good.toml": codex_agent("good"),
    ".codex/agents/same.toml": codex_agent("good"),
    ".codex/agents/foreign.toml": codex_agent("审查 B", 'model = "x"\n[tools]\n'),
    ".codex/agents/noname.toml": 'description = "d"\ndeveloper_instructions = "x"\n',
    ".codex/agents/nodescription.toml": 'name = "nodescription"\ndeveloper_instructions = "x"\n',
    ".codex/agents/noinstructions.toml": 'name = "noinstructions"\ndescription = "d"\n',
    ".codex/agents/blank.toml": 'name = "blank"\ndescription = " "\ndeveloper_instructions = "x"\n',
    ".codex/agents/broken.toml": "name = [\n",
    ".codex/agents/folder/.hidden/deep.toml": 'name = "deep"\n',
}

KIMI = {
    **{f".kimi-code/skills/{name}": text for name, text in _SKILLS.items()},
    ".kimi-code/skills/odd/SKILL.md": skill("odd", more="type: odd"),
    ".kimi-code/skills/flow/SKILL.md": skill("flow", more="type: flow"),
    ".agents/skills/shared/SKILL.md": skill("shared"),
    ".agents/skills/again/SKILL.md": skill("Alpha"),
    ".kimi-code/agents/good.md": kimi_agent("good"),
    ".kimi-code/agents/same.md": kimi_agent("good"),
    ".kimi-code/agents/2025-x.md": kimi_agent("2025-x"),
    ".kimi-code/agents/noname.md": "---\ndescription: d\n---\nBe good.\n",
    ".kimi-code/agents/nodescription.md": "---\nname: nodescription\n---\nBe good.\n",
    ".kimi-code/agents/nobody.md": kimi_agent("nobody", body=""),
    ".kimi-code/agents/upper.md": kimi_agent("Upper Case"),
    ".kimi-code/agents/under.md": kimi_agent("under_score"),
    ".kimi-code/agents/coder.md": kimi_agent("coder"),
    ".kimi-code/agents/explore.md": kimi_agent("explore", "override: true\n"),
    ".kimi-code/agents/folder/inside.md": kimi_agent("inside"),
    ".kimi-code/agents/.hidden/hidden.md": kimi_agent("hidden"),
    ".kimi-code/agents/.dot.md": kimi_agent("dot"),
    ".kimi-code/agents/upper2.MD": kimi_agent("upper2"),
    ".agents/agents/shared.md": kimi_agent("shared"),
    ".kimi-code/config.toml": """\
default_model = "none"
[providers.none]
type = "openai"
base_url = "http://127.0.0.1:9/v1"
api_key = "none"
[models.none]
provider = "none"
model = "none"
max_context_size = 100000
""",
}
"""Files with agents and skills of Kimi. Without a model in its configuration the program lists no agents."""
