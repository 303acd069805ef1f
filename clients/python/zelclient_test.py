"""The Python client against a real zelhost (ZELHOST names the binary) on a free loopback port."""

import os
import socket
import subprocess
import tempfile
import time

import pytest

import zmq

from zelclient import (NoSuchTarget, NotAnswering, Stream, ZelClient, ZelError, decode, encode, group_identity,
                       manager_identity, secure)


def free_address():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return "tcp://127.0.0.1:%d" % probe.getsockname()[1]


def run_zelhost(folder, address, settings=""):
    """A zelhost on `address` with more ini lines; its process once it is ready."""
    with open(os.path.join(folder, "pytest.ini"), "w") as ini:
        ini.write("EnvironmentAddress=%s\n%s" % (address, settings))
    env = dict(os.environ, ZEL_CONFIG_DIR=folder)
    host = subprocess.Popen([os.environ["ZELHOST"], "pytest"], env=env, stdout=subprocess.PIPE, text=True)
    assert host.stdout.readline().strip() == "zelhost: ready at " + address
    return host


def stop_zelhost(host):
    host.terminate()
    assert host.wait(10) == 0


@pytest.fixture(scope="module")
def zel():
    address = free_address()
    with tempfile.TemporaryDirectory() as folder:
        host = run_zelhost(folder, address)
        try:
            with ZelClient(address) as client:
                yield client
        finally:
            stop_zelhost(host)


def write_key_pair(folder, name):
    public, secret = zmq.curve_keypair()
    base = os.path.join(folder, name)
    with open(os.open(base + ".key", os.O_WRONLY | os.O_CREAT, 0o600), "wb") as f:
        f.write(secret + b"\n")
    with open(base + ".pub", "wb") as f:
        f.write(public + b"\n")
    return base


def test_groups_are_made_listed_and_deleted_with_the_services_error_texts(zel):
    assert zel.groups() == []
    for name in ("b", "a", "B"):
        zel.create_group(name)
    assert zel.groups() == ["B", "a", "b"]
    with pytest.raises(ZelError, match="A group with the name 'a' already exists."):
        zel.create_group("a")
    for name in ("a", "b", "B"):
        zel.delete_group(name)
    with pytest.raises(ZelError, match="A group with the name 'a' does not exists.") as failure:
        zel.delete_group("a")
    assert failure.value.reply["GroupName"] == "a", "the reply is the request with the result written in"
    reply = zel.request(manager_identity(), "Create")
    assert (reply["ResultType"], reply["MessageText"]) == ("Error", "Unknown message type")
    # The router drops what it cannot deliver: a short wait stands for "no answer ever".
    with pytest.raises(TimeoutError):
        zel.exchange(group_identity("nosuchgroup"), encode("QueryProcessors"), timeout_ms=300)
    assert zel.groups() == [], "a new socket after the time-out"


def test_a_bridge_and_the_name_service_answer_through_the_router(zel):
    zel.create_group("g")
    target = Stream("numbers", ["http://127.0.0.1:9/in", "text/plain"])
    zel.create("g", "bridge", "HttpBridge", streams=[target])
    with pytest.raises(ZelError, match="Processor name 'two words' is not allowed."):
        zel.create("g", "two words", "HttpBridge")
    assert zel.processors("g") == ["bridge"]
    assert [(s.name, s.addresses) for s in zel.streams("g", "bridge")] == [("numbers", target.addresses)]
    zel.connect("g", "bridge", "numbers", "tcp://127.0.0.1:9", filters=["a", "b"])
    assert [(s.address, s.filters) for s in zel.sources("g", "bridge")] == [("tcp://127.0.0.1:9", ["a", "b"])]
    with pytest.raises(ZelError, match="Cannot get parameter: rate"):
        zel.get_parameter("g", "bridge", "rate")
    stats = zel.statistics("g", "bridge")
    assert (stats["type"], stats["state"]) == ("HttpBridge", "running")
    assert stats["inputs"] == [{"messages": 0, "bytes": 0}]

    zel.register_stream("g", "s", "p", ["tcp://127.0.0.1:1", "inproc://x"])
    assert zel.resolve_stream("g", "s") == ("p", ["tcp://127.0.0.1:1", "inproc://x"])
    zel.deregister_stream("g", "s")
    with pytest.raises(ZelError, match="Error: 's' does not exist"):
        zel.resolve_stream("g", "s")
    zel.delete_group("g")


def test_records_keep_every_field_through_encode_and_decode():
    stream = Stream("out", ["a1", "a2"], protocol="PUB", running=False)
    record = decode(encode("Create", processor={"ID": "p", "ProcessorType": "t", "streams": [stream]},
                           StreamAddresses=["x", ""], MessageFilter=["f"], ParameterName="", ResultType="Warning"))
    assert record["Processor"]["streams"] == [stream]
    assert (record["StreamAddresses"], record["MessageFilter"]) == (["x", ""], ["f"])
    assert (record["ParameterName"], record["ResultType"]) == ("", "Warning")


def test_silence_is_told_apart_as_zelctl_tells_it(zel):
    with ZelClient(zel.address, timeout_ms=300) as client:
        with pytest.raises(NoSuchTarget, match=r"^no group 'nosuch' \(zelhost at .* answers; groups: none\)$"):
            client.processors("nosuch")
        client.create_group("g")
        try:
            with pytest.raises(NoSuchTarget, match=r"^no processor 'p' in group 'g'$"):
                client.parameters("g", "p")
        finally:
            client.delete_group("g")
    with ZelClient(free_address(), timeout_ms=300) as client:
        started = time.monotonic()
        with pytest.raises(NotAnswering, match="does not answer: is it running"):
            client.groups()
        assert time.monotonic() - started < 0.6, "one time-out, not two"


def test_a_secured_host_answers_key_holders_only_and_its_streams_reach_them_only():
    address = free_address()
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(os.path.join(folder, "authorized"))
        host_key = write_key_pair(folder, "host")
        alice = write_key_pair(os.path.join(folder, "authorized"), "alice")
        mallory = write_key_pair(folder, "mallory")
        host = run_zelhost(folder, address, "ServerKeyFile=host.key\nAuthorizedKeysFolder=authorized\n")
        try:
            with ZelClient(address, key=alice + ".key", server_key=host_key + ".pub") as zel:
                zel.create_group("g")
                zel.create("g", "gen", "demo.Generator", streams=[Stream("numbers", ["tcp://127.0.0.1:*"])])
                _, addresses = zel.resolve_stream("g", "numbers")
                keyed, plain = (zmq.Context.instance().socket(zmq.SUB) for _ in range(2))
                secure(keyed, alice + ".key", host_key + ".pub")
                for sub in (keyed, plain):
                    sub.linger = 0
                    sub.subscribe(b"")
                    sub.connect(addresses[0])
                assert keyed.poll(10000), "an authorized subscriber gets the stream"
                # A short wait stands for "never": the data has been flowing for the authorized one.
                assert not plain.poll(300), "a subscriber without keys gets nothing"
                keyed.close()
                plain.close()
                zel.delete_group("g")
            for key in (mallory, None):
                keys = {"key": key + ".key", "server_key": host_key + ".pub"} if key else {}
                with ZelClient(address, timeout_ms=500, **keys) as outsider:
                    with pytest.raises(TimeoutError):
                        outsider.groups()
            os.chmod(mallory + ".key", 0o644)
            with pytest.raises(PermissionError, match="chmod 600"):
                ZelClient(address, key=mallory + ".key", server_key=host_key + ".pub")
        finally:
            stop_zelhost(host)
