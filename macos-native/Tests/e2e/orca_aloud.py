"""Runs Orca and prints what it would speak, one utterance a line. To be run with SPEECHD_CMD=false, so that it has no voice."""
from __future__ import annotations

import logging
import re
import sys

from orca import orca


class Utterances(logging.Handler):
    def emit(self, record: logging.LogRecord) -> None:
        spoken = re.match(r"SPEECH OUTPUT: '(.*?)'(?: voice=\w+| \{|$)", record.getMessage(), re.DOTALL)
        if spoken:
            print(*spoken[1].split(), flush=True)


logging.getLogger("speech").addHandler(Utterances())
logging.getLogger("speech").setLevel(logging.INFO)
orca.getSettingsManager().activate(customSettings={"enableBraille": False, "enableKeyEcho": False, "enableEchoByCharacter": True, "enableSound": False})
sys.exit(orca.main())
