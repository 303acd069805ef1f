"""A client of ZEL's control protocol in plain Python (pyzmq; on Debian python3-zmq).

It speaks to the router's frontend as any client does: a DEALER socket sends the frames
empty, identity-with-NUL, record-XML and receives empty, source, reply-XML. docs/protocol.md
describes the protocol; this module is its small reference client.

    with ZelClient("tcp://127.0.0.1:5555") as zel:
        zel.create_group("plant")
        zel.create("plant", "sink", "HttpBridge",
                   streams=[Stream("numbers", ["http://127.0.0.1:8080/in", "text/plain"])])
        print(zel.processors("plant"))

Against a zelhost with CURVE on, give this client's secret key file and the host's public key
(files as `zelctl keygen` writes them, or the key text itself):

    ZelClient("tcp://10.0.0.1:5555", key="alice.key", server_key="host.pub")
"""

from dataclasses import dataclass, field
import json
import os
import xml.etree.ElementTree as ET

import zmq

PREFIX = "inproc://zel"  # every identity starts with it; alone it names the group manager
STATISTICS = "zel.stats"  # the parameter every processor answers with its counters (docs/protocol.md)

# Child elements in the order ZEL writes them; the lists repeat one element per entry.
_SCALARS = ("StreamName", "StreamAddress", "ParameterName", "Parameter", "GroupName",
            "ProcessorName", "ProcessorType", "MessageText", "ResultType")
_STRING_LISTS = ("StreamAddresses", "MessageFilter")


def manager_identity():
    return PREFIX


def group_identity(group):
    return f"{PREFIX}/{group}"


def nameservice_identity(group):
    return f"{PREFIX}/{group}/nameservice"


def processor_identity(group, processor):
    return f"{PREFIX}/{group}/{processor}"


@dataclass
class Source:
    """A processor's input (a DataSource record)."""
    address: str = None
    filters: list = field(default_factory=list)
    protocol: str = None  # SUB, TCP, TCP_CLIENT, UDP
    byte_order: str = None  # Host, Network


@dataclass
class Stream:
    """A processor's output (a DataStream record). For an HttpBridge: the message type it posts,
    with the URL and, second, the content type as its addresses."""
    name: str
    addresses: list = field(default_factory=list)
    protocol: str = None  # PUB
    running: bool = None


class ZelError(Exception):
    """The reply's ResultType was Warning or Error; `reply` is the whole reply."""

    def __init__(self, reply):
        super().__init__(f"{reply.get('ResultType')}: {reply.get('MessageText', '')}")
        self.reply = reply


class NoSuchTarget(LookupError):
    """No group or processor of that name: the router dropped the request without a word."""


class NotAnswering(TimeoutError):
    """The zelhost, a group, its name service or a processor did not answer within the time-out."""


def _text(parent, tag, value):
    ET.SubElement(parent, tag).text = value


def _source_xml(parent, source):
    element = ET.SubElement(parent, "DataSource")
    for tag, value in (("Protocol", source.protocol), ("Address", source.address),
                       ("ByteOrder", source.byte_order)):
        if value is not None:
            _text(element, tag, value)
    for value in source.filters:
        _text(element, "Filter", value)


def _stream_xml(parent, stream):
    element = ET.SubElement(parent, "DataStream")
    _text(element, "Name", stream.name)
    if stream.protocol is not None:
        _text(element, "Protocol", stream.protocol)
    for value in stream.addresses:
        _text(element, "Address", value)
    if stream.running is not None:
        _text(element, "Running", "true" if stream.running else "false")


def encode(message_type, processor=None, sources=(), streams=(), **fields):
    """The XML of a control record: `processor` is a dict with optional ID, ProcessorType and the
    lists "sources" and "streams"; other fields by their element names."""
    root = ET.Element("ControlMessage")
    _text(root, "MessageType", message_type)
    if processor is not None:
        element = ET.SubElement(root, "Processor")
        for tag in ("ID", "ProcessorType"):
            if tag in processor:
                _text(element, tag, processor[tag])
        for source in processor.get("sources", ()):
            _source_xml(element, source)
        for stream in processor.get("streams", ()):
            _stream_xml(element, stream)
    for source in sources:
        _source_xml(root, source)
    for stream in streams:
        _stream_xml(root, stream)
    for tag in ("StreamName", "StreamAddress"):
        if tag in fields:
            _text(root, tag, fields.pop(tag))
    for tag in _STRING_LISTS:
        for value in fields.pop(tag, ()):
            _text(root, tag, value)
    for tag in _SCALARS:
        if tag in fields:
            _text(root, tag, fields.pop(tag))
    if fields:
        raise ValueError(f"not fields of a control record: {', '.join(fields)}")
    return ET.tostring(root, encoding="utf-8")


def _source(element):
    return Source(address=element.findtext("Address"), filters=[e.text or "" for e in element.findall("Filter")],
                  protocol=element.findtext("Protocol"), byte_order=element.findtext("ByteOrder"))


def _stream(element):
    running = element.findtext("Running")
    return Stream(name=element.findtext("Name") or "", addresses=[e.text or "" for e in element.findall("Address")],
                  protocol=element.findtext("Protocol"),
                  running=None if running is None else running.lower() not in ("0", "false"))


def decode(payload):
    """A reply as a dict: scalars by element name, StreamAddresses and MessageFilter as lists,
    DataSource and DataStream as lists of Source and Stream, Processor as a dict."""
    root = ET.fromstring(payload)
    record = {"MessageType": root.findtext("MessageType")}
    for tag in _SCALARS:
        if root.find(tag) is not None:
            record[tag] = root.findtext(tag) or ""
    for tag in _STRING_LISTS:
        record[tag] = [e.text or "" for e in root.findall(tag)]
    record["DataSource"] = [_source(e) for e in root.findall("DataSource")]
    record["DataStream"] = [_stream(e) for e in root.findall("DataStream")]
    processor = root.find("Processor")
    if processor is not None:
        record["Processor"] = {"ID": processor.findtext("ID"), "ProcessorType": processor.findtext("ProcessorType"),
                               "sources": [_source(e) for e in processor.findall("DataSource")],
                               "streams": [_stream(e) for e in processor.findall("DataStream")]}
    return record


def read_key(given):
    """A Z85 key from a key file (one line, as zelctl keygen writes it), or the key's own text."""
    if len(given) == 40 and not os.path.exists(given):
        return given.encode()
    with open(given, "rb") as f:
        key = f.read(1024).strip()
    if len(key) != 40:
        raise ValueError(f"{given} holds no key (one line of 40 characters in Z85)")
    return key


def read_key_pair(secret_key_file):
    """(public, secret) from a secret key file, which must be readable by its owner only."""
    if os.name == "posix" and os.stat(secret_key_file).st_mode & 0o077:
        raise PermissionError(f"{secret_key_file} is readable by others than its owner (chmod 600 it)")
    secret = read_key(secret_key_file)
    return zmq.curve_public(secret), secret


def secure(socket, key, server_key):
    """Makes `socket` a CURVE client with this client's secret key file and the server's public key."""
    public, secret = read_key_pair(key)
    socket.curve_publickey = public
    socket.curve_secretkey = secret
    socket.curve_serverkey = read_key(server_key)


def _names(reply):
    text = reply.get("Parameter", "")
    return text.split(",") if text else []


class ZelClient:
    """One connection to a router frontend. Not for use by several threads at once."""

    def __init__(self, address, timeout_ms=4000, context=None, key=None, server_key=None):
        """`key` and `server_key` (both or neither) for a zelhost with CURVE on: this client's secret
        key file and the host's public key."""
        if (key is None) != (server_key is None):
            raise ValueError("key and server_key go together")
        self.address = address
        self.timeout_ms = timeout_ms
        self._keys = (key, server_key) if key else None
        self._context = context or zmq.Context.instance()
        self._socket = None
        self._open()

    def _open(self):
        self._socket = self._context.socket(zmq.DEALER)
        self._socket.linger = 0
        if self._keys:
            secure(self._socket, *self._keys)
        self._socket.connect(self.address)

    def close(self):
        self._socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def exchange(self, identity, payload, timeout_ms=None):
        """Sends one record (XML bytes) to an identity and returns the reply's XML bytes. TimeoutError
        when none comes: the router drops what it cannot deliver and says nothing."""
        self._socket.send_multipart([b"", identity.encode() + b"\0", payload])
        timeout = self.timeout_ms if timeout_ms is None else timeout_ms
        if not self._socket.poll(timeout, zmq.POLLIN):
            # A late reply must not pass for the answer to the next request.
            self.close()
            self._open()
            raise TimeoutError(f"no answer from {identity} at {self.address} within {timeout} ms"
                               + (" (refused key or wrong server key?)" if self._keys else ""))
        frames = self._socket.recv_multipart()
        return frames[-1]

    def request(self, identity, message_type, **fields):
        """The reply as a dict, whatever its ResultType. Without an answer, NoSuchTarget when the
        group or processor does not exist, else NotAnswering; each says what is missing."""
        try:
            return decode(self.exchange(identity, encode(message_type, **fields)))
        except TimeoutError:
            raise self._diagnosis(identity) from None

    def _listed(self, identity, message_type):
        """The names a service lists, or None when it does not answer either."""
        try:
            return _names(decode(self.exchange(identity, encode(message_type))))
        except TimeoutError:
            return None

    def _diagnosis(self, identity):
        """Why `identity` did not answer, found by asking the manager and the group what exists."""
        host = f"zelhost at {self.address}"
        groups = None if identity == manager_identity() else self._listed(manager_identity(), "QueryGroups")
        if groups is None:
            return NotAnswering(f"{host} does not answer: is it running?")
        group, _, processor = identity[len(PREFIX) + 1:].partition("/")
        if group not in groups:
            return NoSuchTarget(f"no group '{group}' ({host} answers; groups: {', '.join(groups) or 'none'})")
        if processor in ("", "nameservice"):
            return NotAnswering(f"group '{group}' does not answer ({host} answers)")
        processors = self._listed(group_identity(group), "QueryProcessors")
        if processors is None:
            return NotAnswering(f"group '{group}' does not answer ({host} answers)")
        if processor not in processors:
            return NoSuchTarget(f"no processor '{processor}' in group '{group}'")
        return NotAnswering(f"processor '{processor}' in group '{group}' does not answer: busy, or ended by a failure")

    def call(self, identity, message_type, **fields):
        """The reply as a dict; ZelError unless it is Success."""
        reply = self.request(identity, message_type, **fields)
        if reply.get("ResultType", "Success") != "Success":
            raise ZelError(reply)
        return reply

    # The group manager.
    def groups(self):
        return _names(self.call(manager_identity(), "QueryGroups"))

    def create_group(self, group):
        self.call(manager_identity(), "CreateGroup", GroupName=group)

    def delete_group(self, group):
        self.call(manager_identity(), "DeleteGroup", GroupName=group)

    # A group.
    def processors(self, group):
        return _names(self.call(group_identity(group), "QueryProcessors"))

    def create(self, group, processor, processor_type, streams=(), sources=()):
        config = {"ID": processor, "ProcessorType": processor_type, "streams": streams, "sources": sources}
        self.call(group_identity(group), "Create", processor=config, ProcessorName=processor,
                  ProcessorType=processor_type)

    def delete(self, group, processor):
        self.call(group_identity(group), "Delete", ProcessorName=processor)

    def set_group_parameter(self, group, name, value):
        self.call(group_identity(group), "SetParameter", ParameterName=name, Parameter=value)

    # A processor.
    def connect(self, group, processor, stream, address, filters=()):
        self.call(processor_identity(group, processor), "Connect", StreamName=stream, StreamAddress=address,
                  MessageFilter=list(filters))

    def start(self, group, processor, stream=""):
        self.call(processor_identity(group, processor), "Start", StreamName=stream)

    def stop(self, group, processor, stream=""):
        self.call(processor_identity(group, processor), "Stop", StreamName=stream)

    def set_parameter(self, group, processor, name, value):
        self.call(processor_identity(group, processor), "SetParameter", ParameterName=name, Parameter=value)

    def get_parameter(self, group, processor, name):
        return self.call(processor_identity(group, processor), "GetParameter", ParameterName=name)["Parameter"]

    def statistics(self, group, processor):
        """The processor's counters as a dict: type, state, inputs, streams, wake-ups, busy time."""
        return json.loads(self.get_parameter(group, processor, STATISTICS))

    def parameters(self, group, processor):
        return _names(self.call(processor_identity(group, processor), "GetParameterList"))

    def sources(self, group, processor):
        return self.call(processor_identity(group, processor), "QuerySources")["DataSource"]

    def streams(self, group, processor):
        return self.call(processor_identity(group, processor), "QueryStreams")["DataStream"]

    # A group's name service.
    def register_stream(self, group, stream, processor, addresses):
        self.call(nameservice_identity(group), "RegisterStream", StreamName=stream, ProcessorName=processor,
                  StreamAddresses=list(addresses))

    def resolve_stream(self, group, stream):
        """(processor name, [addresses])"""
        reply = self.call(nameservice_identity(group), "ResolveStream", StreamName=stream)
        return reply.get("ProcessorName", ""), reply["StreamAddresses"]

    def deregister_stream(self, group, stream):
        self.call(nameservice_identity(group), "DeregisterStream", StreamName=stream)
