import logging
import os
import threading

import pytest

import velquorin
from conftest import expect_same_as_program, golden_case_names


def run_case(case, monkeypatch, threads=2):
    """The case's result, or the VelquorinError of a run that stopped."""
    monkeypatch.chdir(case.scratch)
    try:
        return velquorin.run(case.command, threads=threads, seed=case.seed)
    except velquorin.VelquorinError as error:
        return error


@pytest.mark.parametrize("name", golden_case_names())
def test_golden_case_gives_the_programs_files(name, golden_case, monkeypatch):
    case = golden_case(name)
    expect_same_as_program(case, run_case(case, monkeypatch))


def test_there_are_golden_cases():
    assert len(golden_case_names()) > 40


@pytest.mark.parametrize("name", ["demo", "triplet"])
def test_one_thread_gives_what_two_give(name, golden_case, monkeypatch):
    case = golden_case(name)
    result = run_case(case, monkeypatch, threads=1)
    assert isinstance(result, velquorin.RunResult)
    expect_same_as_program(case, result)


STOPS = [
    ("parse_fault", "stopped", 0, "FATAL ERROR: Keyword  >MODEL:   missing"),
    ("corr_no_variance", "stopped", 0, "FATAL ERROR: VARIABLE   4 HAS NO VARIANCE"),
    (
        "corr_ipsat_fault",
        "stopped",
        0,
        "FATAL ERROR IN SUBROUTINE IPSAT\nNO VARIANCE FOR SUBJECT           3",
    ),
    ("rotate_phi_missing", "stopped", 0, "FATAL ERROR! Factor correlation file not found"),
    (
        "given_cor_absent_co",
        "severe",
        29,
        "severe (29): file not found, unit 10, file absent.cor",
    ),
]


@pytest.mark.parametrize("name,ending,status,message", STOPS)
def test_a_stop_raises_with_the_programs_words(
    name, ending, status, message, golden_case, monkeypatch
):
    case = golden_case(name)
    monkeypatch.chdir(case.scratch)
    with pytest.raises(velquorin.VelquorinError) as raised:
        velquorin.run(case.command)
    assert str(raised.value) == message
    assert (raised.value.ending, raised.value.status) == (ending, status)
    # The interpreter goes on, and so does the engine.
    demo = golden_case("demo")
    assert isinstance(run_case(demo, monkeypatch), velquorin.RunResult)


def test_a_missing_command_file_is_cancelled(tmp_path):
    path = str(tmp_path / "absent.in")
    with pytest.raises(velquorin.VelquorinError) as raised:
        velquorin.run(path)
    assert str(raised.value) == "Command file not found: " + path
    assert (raised.value.ending, raised.value.status) == ("cancelled", 1)


@pytest.mark.parametrize(
    "arguments",
    [
        dict(command_file=""),
        dict(command_file="a.in", threads=0),
        dict(command_file="a.in", threads=1025),
        dict(command_file="a.in", threads=1.5),
        dict(command_file="a.in", threads=True),
        dict(command_file="a.in", seed=1.5),
        dict(command_file="a.in", seed=2**63),
    ],
)
def test_arguments_are_checked(arguments):
    with pytest.raises(ValueError):
        velquorin.run(**arguments)


def test_verbose_logs_the_console(golden_case, monkeypatch, caplog, capfd):
    case = golden_case("demo")
    monkeypatch.chdir(case.scratch)
    velquorin.run(case.command, seed=1)
    assert capfd.readouterr() == ("", "")
    with caplog.at_level(logging.INFO, logger="velquorin"):
        velquorin.run(case.command, seed=1, verbose=True)
    assert "Performing factor analysis" in caplog.text
    assert capfd.readouterr() == ("", "")


def test_runs_from_two_threads_at_once_come_out_whole(golden_case, monkeypatch):
    # Each call waits for the engine in turn, with the interpreter's lock
    # released; the console and files of one run never mix with the other's.
    case = golden_case("demo")
    monkeypatch.chdir(case.scratch)
    results = [None, None]

    runs = 8

    def work(slot):
        results[slot] = [
            velquorin.run(case.command, threads=2, seed=case.seed) for _ in range(runs)
        ]

    threads = [threading.Thread(target=work, args=(slot,)) for slot in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for slot_results in results:
        assert len(slot_results) == runs
        for result in slot_results:
            expect_same_as_program(case, result)
