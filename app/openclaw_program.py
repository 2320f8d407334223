"""The commands of the `openclaw` program, and its answers."""

from __future__ import annotations

import os

from . import processes, programs
from .documents import parse_json
from .errors import BackendError
from .openclaw_config import Version, config_path, state_folder, version_of

ACTION_SECONDS = 60.0
"""How long the program may take for what the user asked for."""

QUESTION_SECONDS = 30.0
"""How long it may take in the background, where nobody waits."""

INSTALL_COMMAND = "curl -fsSL https://openclaw.ai/install.sh | bash"
"""How its documentation installs it: https://docs.openclaw.ai/install"""


def path() -> str | None:
    """The absolute path of the program, or None when it is not installed."""
    return programs.find_program("openclaw")


def basis() -> tuple[Version, ...] | None:
    """The versions of the files on which its answers about agents depend. None when it must not be asked.

    The program makes its state folder when that is missing, so it is not asked then.
    """
    program = path()
    if program is None or not os.path.isdir(state_folder()):
        return None
    return version_of(program), version_of(config_path())


def ask(*arguments: str) -> object:
    """Ask the program something that changes nothing. Returns its answer, a JSON object or list.

    Returns a text with the reason when the program does not answer.
    """
    program = path()
    if program is None:
        return "openclaw is not installed."
    outcome = processes.run([program, *arguments], QUESTION_SECONDS)
    try:
        return parse_json(outcome.output) if outcome.status == 0 else complaint(outcome)
    except ValueError:
        return complaint(outcome)


def act(attempt: str, *arguments: str) -> dict[str, object]:
    """Let the program change something. Returns its answer, a JSON object.

    Raises `BackendError` with the program's own words. It begins with `attempt`, such as "The agent was not deleted".
    """
    program = path()
    if program is None:
        raise BackendError(f"{attempt}: only OpenClaw itself can do that, and it is not installed. {how_to_install()}")
    outcome = processes.run([program, *arguments], ACTION_SECONDS)
    answer = answer_of(outcome)
    if outcome.status != 0 or answer is None:
        raise BackendError(f"{attempt}: {complaint(outcome)}")
    return answer


def check(candidate: str) -> str:
    """What is wrong with `candidate`, a new version of the configuration file, in the program's words. Empty when it is
    valid, or when the program is not installed.
    """
    program = path()
    problem = config_problem(program, ACTION_SECONDS, candidate) if program else ""
    return problem.replace(candidate, config_path())


def config_problem(program: str, seconds: float, file: str = "") -> str:
    """What is wrong with the configuration file, or with `file`, in the program's words. Empty when it is valid."""
    variables = {"OPENCLAW_CONFIG_PATH": file} if file else {}
    outcome = processes.run([program, "config", "validate", "--json"], seconds, variables)
    answer = answer_of(outcome) or {}
    return "" if outcome.status == 0 and answer.get("valid") is True else complaint(outcome)


def version(program: str, seconds: float) -> str:
    """The first line that the program writes when it is asked for its version, or the reason why there is none."""
    outcome = processes.run([program, "--version"], seconds)
    line = outcome.first_line()
    if outcome.status == 0:
        return line
    return f"(unknown: {outcome.problem or line or f'it ended with status {outcome.status}'})"


def complaint(outcome: processes.Outcome) -> str:
    """Why the program did not do what it was asked for, as a sentence with its own words."""
    if outcome.problem:
        return f"openclaw {outcome.problem}."
    answer = answer_of(outcome) or {}
    error = answer.get("error")
    message = error.get("message") if isinstance(error, dict) else None
    said = [message] if isinstance(message, str) else []
    issues = answer.get("issues")
    for issue in issues[:3] if isinstance(issues, list) else []:
        if isinstance(issue, dict):
            said.append(f"{issue.get('path')}: {issue.get('message')}")
    text = " ".join(" ".join(said).split()) or outcome.first_line() or "nothing that can be understood"
    return f"openclaw says: {text[:500]}" + ("" if text.endswith((".", "?", "!")) else ".")


def how_to_install() -> str:
    """A sentence with the command that installs the program."""
    return f"Its documentation installs it with: {INSTALL_COMMAND}"


def answer_of(outcome: processes.Outcome) -> dict[str, object] | None:
    """The JSON object that the program wrote; None when it wrote something else."""
    try:
        value = parse_json(outcome.output)
    except ValueError:
        return None
    return value if isinstance(value, dict) else None
