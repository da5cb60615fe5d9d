#!/usr/bin/env python3
"""Puts one small fault at a time into src/, rebuilds, runs ctest and counts the faults caught.
A snippet no longer found exactly (or found more often than its fault expects) is "missing",
a fault that does not build "n/a"; neither is counted. Each file is restored byte for byte,
also on Ctrl-C. On a shared machine: nice -n 19 tests/tools/inject-faults.py -B build"""
import argparse, os, pathlib, signal, subprocess, sys

SRC = pathlib.Path(__file__).resolve().parents[2] / "src"

# (file under src/, snippet, replacement[, occurrence]), spread over every folder.
FAULTS = [
    ("run/Driver.cpp", "if (!gTimechartMode)", "if (gTimechartMode)", 0),
    ("run/Driver.cpp", "(int)sizeof header) <= 0)", "(int)sizeof header) < 0)"),
    ("run/Options.cpp", "(wholeFileSeconds(d) - 1)", "(wholeFileSeconds(d) - 2)"),
    ("run/Options.cpp", "{ gRmFirstInterrupt = true; }", "{ gRmFirstInterrupt = false; }"),
    ("run/Options.cpp", "row->option != c", "row->option == c"),
    ("run/TimeBase.cpp", "(double)(t % 1000000000ULL)", "(double)(t % 1000000001ULL)"),
    ("run/TimeBase.cpp", "if (timeConversionType == kTimeLoomstat)", "if (timeConversionType != kTimeLoomstat)"),
    ("run/Settings.cpp", 'std::string(arm64) == "y"', 'std::string(arm64) != "y"'),
    ("run/SystemFiles.cpp", "result.back() == '/'", "result.back() != '/'"),
    ("records/PerfFactory.cpp", "type - 1 <= 15u", "type - 1 < 15u"),
    ("records/PerfFactory.cpp", "if (type == (uint32_t)kTypes) {", "if (type != (uint32_t)kTypes) {"),
    ("records/PerfRecordComm.cpp", "if (pid == 0 && tid == 0)", "if (pid == 0 || tid == 0)"),
    ("records/PerfRecordComm.cpp", "address <= map->_start + map->_length", "address < map->_start + map->_length"),
    ("records/PerfRecordMMap.cpp", "if (address > kStackStart && address <= kStackEnd)", "if (address > kStackStart || address <= kStackEnd)"),
    ("records/PerfRecordMMap.cpp", "if (tid_ != 0 && tid_ != tid)", "if (tid_ != 0 && tid_ == tid)"),
    ("records/PerfRecordSample.cpp", "if (nr == 1)", "if (nr == 2)"),
    ("records/PerfRecordSample.cpp", "if (skip >= _depth)", "if (skip > _depth)"),
    ("records/PerfRecordSample.cpp", "if (address <= kStrayMarkerLimit && _depth != 0)", "if (address <= kStrayMarkerLimit && _depth == 0)"),
    ("records/PerfReader.cpp", "if (size > 2048 || size == 0)", "if (size > 2049 || size == 0)"),
    ("events/EventPayload.cpp", "kern_ver < kVersion310", "kern_ver <= kVersion310"),
    ("events/KgslDevice.cpp", "if (status == kRbComplete)", "if (status != kRbComplete)"),
    ("events/PRSE_cpu_idle.cpp", "state * 2 + 1", "state * 2 + 2"),
    ("events/PRSE_kgsl_issueibcmds.cpp", "contextType >= 1 && contextType <= 3", "contextType >= 1 && contextType < 3"),
    ("events/PRSE_kgsl_issueibcmds.cpp", "eof != 0 ? 1 : 0", "eof == 0 ? 1 : 0"),
    ("events/PRSE_sched_switch.cpp", "if (_nextPid == 0) {", "if (_nextPid != 0) {"),
    ("events/PRSE_task_rename.cpp", "name, true);", "name, false);"),
    ("events/PerfRecordSampleEvent.cpp", "if (is64 && !_nameAndFunction64->empty())", "if (is64 || !_nameAndFunction64->empty())"),
    ("events/PerfRecordSampleEvent.cpp", "time > gLastTimestampToProcess", "time >= gLastTimestampToProcess"),
    ("symbols/FileNames.cpp", "strlen(name) <= 4", "strlen(name) <= 5"),
    ("symbols/FileNames.cpp", "if (_symbols.empty() || _key == 0)", "if (_symbols.empty() && _key == 0)"),
    ("symbols/SymbolTable.cpp", "bool negative = *text == '-';", "bool negative = *text != '-';"),
    ("symbols/SymbolTable.cpp", "if (value > 0xFFFFFFFFull)", "if (value >= 0xFFFFFFFFull)"),
    ("symbols/SymbolTable.cpp", "if (address <= range.end)", "if (address < range.end)"),
    ("symbols/SymbolTable.cpp", "if (piece.size() > 1)", "if (piece.size() > 2)"),
    ("symbols/SymbolTable.cpp", "if (count == 0 && (address >> 48) == 0xFFFF)", "if (count != 0 && (address >> 48) == 0xFFFF)"),
    ("symbols/SymbolTableElement.cpp", '_name.size() < 4 ? "*BlankName*"', '_name.size() <= 4 ? "*BlankName*"'),
    ("symbols/SymbolTableElement.cpp", "key == _recentMapKeys[0] || key == _recentMapKeys[1]", "key == _recentMapKeys[0] && key == _recentMapKeys[1]"),
    ("timechart/CPUChart.cpp", "if (value == 0 && _lastIdle != -1) {", "if (value == 0 && _lastIdle == -1) {"),
    ("timechart/CPUChart.cpp", "value >= 1 && value <= kIdleStates", "value >= 1 && value < kIdleStates"),
    ("timechart/ChartEntryWriter.cpp", "if (sample.value == last && beforeLast == last) {", "if (sample.value == last || beforeLast == last) {"),
    ("timechart/GPUChart.cpp", "sub == 1 ? 2u : 1u", "sub == 2 ? 2u : 1u"),
    ("timechart/IRQChart.cpp", '.changesOnly(_series[cpu], "[%f,%u]", true);', '.changesOnly(_series[cpu], "[%f,%u]", false);'),
    ("timechart/ProcessChart.cpp", "issue && sub == 1 ? 2 : 1", "issue || sub == 1 ? 2 : 1"),
    ("timechart/TimechartManager.cpp", "if (!force && !chart->_name.empty())", "if (!force && chart->_name.empty())"),
    ("timechart/TimechartManager.cpp", "irq < 1000 ? irq : irq - 1000", "irq < 1000 ? irq : irq - 1001"),
    ("timechart/TraceMarker.cpp", "dash == std::string::npos ? 1 : dash + 2", "dash == std::string::npos ? 1 : dash + 3"),
    ("json/JSOM.cpp", 'folded == "t" || folded == "y" || folded == "1"', 'folded == "t" || folded == "y" && folded == "1"'),
    ("json/JSOM.cpp", "if (index < 0 || index > count) {", "if (index < 0 || index >= count) {"),
    ("json/JSONData.cpp", "if (index < 0 || index >= count) return;", "if (index < 0 || index > count) return;"),
    ("json/JSONData.cpp", "depth <= 48 ? depth + 2 : 51", "depth <= 48 ? depth + 3 : 51"),
    ("json/JSONParser.cpp", "if (c >= 'A' && c <= 'F') return c - 0x3c;", "if (c >= 'A' && c < 'F') return c - 0x3c;"),
    ("json/JSONParser.cpp", "if (signedDivisor == 0) return value + HUGE_VAL;", "if (signedDivisor != 0) return value + HUGE_VAL;"),
    ("json/JsomStringWriter.cpp", "if (value > 1e16 || value < -1e16) {", "if (value > 1e16 && value < -1e16) {"),
    ("json/JsomStringWriter.cpp", "if (_whiteSpace && _state != 0) {", "if (_whiteSpace && _state == 0) {"),
    ("json/PerfJSONWriter.cpp", "_writer->appendLabel(label, true);", "_writer->appendLabel(label, false);"),
    ("import/Importer.cpp", "if (sample.cpu >= kCpus)", "if (sample.cpu > kCpus)"),
    ("import/Importer.cpp", "if (sample.chainLength() > kChainFits)", "if (sample.chainLength() >= kChainFits)"),
    ("import/Importer.cpp", "if (parent == _threadNames.end() || parentTid == tid) {", "if (parent == _threadNames.end() && parentTid == tid) {"),
    ("import/PerfFile.cpp", "return offset <= total && size <= total - offset;", "return offset <= total && size < total - offset;"),
    ("import/PerfFile.cpp", "_attrs.empty() && !_records.empty()", "_attrs.empty() && _records.empty()"),
    ("import/TracingData.cpp", "longSize == 4 || longSize == 8 ? longSize : 0", "longSize == 4 && longSize == 8 ? longSize : 0"),
    ("import/SymbolLinks.cpp", "buildId.id.size() < 3", "buildId.id.size() < 4"),
    ("import/PerfDataBuilder.cpp", "if (!kernel310)", "if (kernel310)"),
    ("import/main.cpp", "if (argc - optind != 2) {", "if (argc - optind == 2) {"),
]


def run(command, timeout=None):  # exit status, None on timeout; the process group never outlives it
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        return process.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        return None
    finally:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()


def write(path, data):  # Ctrl-C and SIGTERM wait until the whole file is written
    signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT, signal.SIGTERM})
    path.write_bytes(data)
    signal.pthread_sigmask(signal.SIG_UNBLOCK, {signal.SIGINT, signal.SIGTERM})


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("-B", "--build", default="build", help="configured build directory (default: build)")
    parser.add_argument("--only", help="fault indexes to run, e.g. 0-9,15 (default: all)")
    parser.add_argument("--timeout", type=int, default=900, help="seconds for one ctest run (default: 900)")
    parser.add_argument("--list", action="store_true", help="only check that each fault is found")
    args = parser.parse_args()
    ranges = [part.partition("-") for part in (args.only or f"0-{len(FAULTS) - 1}").split(",")]
    chosen = sorted({i for low, _, high in ranges for i in range(int(low), int(high or low) + 1) if i < len(FAULTS)})
    build, test = ["cmake", "--build", args.build, "-j2"], ["ctest", "--test-dir", args.build, "-j2"]
    for stop in signal.SIGINT, signal.SIGTERM:  # restore and stop, also when started in the background
        signal.signal(stop, signal.default_int_handler)
    results = {}
    try:
        if not args.list and (run(build) != 0 or run(test, args.timeout) != 0):
            sys.exit("the build or the suite fails without any fault: nothing to measure")
        for i in chosen:
            file, old, new, *occurrence = FAULTS[i]
            path = SRC / file
            original = path.read_bytes() if path.is_file() else b""
            text, at = original.decode(), occurrence[0] if occurrence else 0
            starts = [k for k in range(len(text)) if text.startswith(old, k)]
            placed = at < len(starts) and (occurrence or len(starts) == 1)
            if not placed or args.list:
                results[i] = "found" if placed else f"missing (found {len(starts)}x)"
                continue
            try:
                write(path, (text[:starts[at]] + new + text[starts[at] + len(old):]).encode())
                status = run(test, args.timeout) if run(build) == 0 else "n/a"
                results[i] = {0: "survived", None: "caught (timeout)", "n/a": "n/a (no build)"}.get(status, "caught")
            finally:
                write(path, original)
            print(f"{i:3} {results[i]}", file=sys.stderr, flush=True)
        if not args.list:
            run(build)  # leave the build directory built from the restored tree
    except KeyboardInterrupt:
        print(f"interrupted: src/ is restored; rebuild {args.build} before using it", file=sys.stderr)
    for i, result in results.items():
        print(f"{i:3}  {result:18}  src/{FAULTS[i][0]}: {FAULTS[i][1]} -> {FAULTS[i][2]}")
    kinds = [result.split(" (")[0] for result in results.values()]
    print(f"caught {kinds.count('caught')} of {kinds.count('caught') + kinds.count('survived')}, "
          f"survived {kinds.count('survived')}, not applicable {kinds.count('n/a')}, missing {kinds.count('missing')}")


if __name__ == "__main__":
    main()
