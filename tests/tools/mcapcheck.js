// Opens a recording of the demo Generator with the MCAP library published on npm, which shares no
// code with zelctl, and checks what a recording promises: one channel per stream, the message
// count, each message's type frame and data, and the summary with its indexes.
// usage: node mcapcheck.js MODULES FILE TOPIC TYPE COUNT SIZE
"use strict";

const fs = require("fs");
const path = require("path");
const [modules, file, topic, type, countText, sizeText] = process.argv.slice(2);
const { McapIndexedReader, McapStreamReader } = require(path.join(modules, "node_modules", "@mcap", "core"));
const count = Number(countText);
const size = Number(sizeText);

function fail(text) {
  console.error(`mcapcheck: ${file}: ${text}`);
  process.exit(1);
}
function expect(condition, text) {
  if (!condition) fail(text);
}

// The demo's data: a big-endian sequence number in 8 bytes, then 'a' + i % 26 at byte i.
function checkData(data, at) {
  expect(data.length === size, `message ${at}: ${data.length} data bytes, not ${size}`);
  for (let i = 8; i < size; ++i)
    expect(data[i] === 97 + (i % 26), `message ${at}: byte ${i} is not the demo pattern`);
  return Buffer.from(data.buffer, data.byteOffset, 8).readBigUInt64BE(0);
}

// The type frame's length (uint32, little-endian), the type frame, the data frame.
function frames(bytes) {
  const view = Buffer.from(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const typeLength = view.readUInt32LE(0);
  return { type: view.subarray(4, 4 + typeLength).toString("utf8"), data: view.subarray(4 + typeLength) };
}

async function indexed() {
  const handle = await fs.promises.open(file, "r");
  const readable = {
    size: async () => BigInt((await handle.stat()).size),
    read: async (offset, length) => {
      const buffer = Buffer.alloc(Number(length));
      await handle.read(buffer, 0, Number(length), Number(offset));
      return buffer;
    },
  };
  const reader = await McapIndexedReader.Initialize({ readable });
  const channels = [...reader.channelsById.values()];
  expect(channels.length === 1, `${channels.length} channels`);
  const channel = channels[0];
  expect(channel.topic === topic, `channel topic ${channel.topic}`);
  expect(channel.messageEncoding === "zel.frames", `message encoding ${channel.messageEncoding}`);
  expect(channel.metadata.get("stream") !== undefined, "the channel does not name its stream");

  expect(reader.statistics !== undefined, "no statistics in the summary");
  expect(reader.statistics.messageCount === BigInt(count), `statistics count ${reader.statistics.messageCount}`);
  expect(reader.statistics.channelMessageCounts.get(channel.id) === BigInt(count), "per-channel count");
  expect(reader.chunkIndexes.length > 1, `${reader.chunkIndexes.length} chunk indexes; a recording this size has more`);
  for (const index of reader.chunkIndexes)
    expect(index.messageIndexOffsets.has(channel.id), `chunk at ${index.chunkStartOffset} has no message index`);
  expect(reader.metadataIndexes.some((m) => m.name === "zel"), "no metadata index named zel");
  for (const opcode of [0x04, 0x0b, 0x08, 0x0d])
    expect(reader.summaryOffsetsByOpcode.has(opcode), `no summary offset for opcode ${opcode}`);
  expect(reader.footer.summaryCrc !== 0, "the footer carries no summary CRC");

  let metadata = 0;
  for await (const record of reader.readMetadata({ name: "zel" })) {
    expect(record.metadata.get("zel_version"), "the metadata do not name the ZEL version");
    ++metadata;
  }
  expect(metadata === 1, `${metadata} zel metadata records`);

  let seen = 0;
  let previous;
  let lastTime = 0n;
  for await (const message of reader.readMessages({ validateCrcs: true })) {
    const { type: got, data } = frames(message.data);
    expect(got === type, `message ${seen}: type frame ${got}`);
    const sequence = checkData(data, seen);
    expect(previous === undefined || sequence === previous + 1n, `message ${seen}: sequence ${sequence} after ${previous}`);
    expect(message.sequence === seen, `message ${seen}: channel sequence ${message.sequence}`);
    expect(message.logTime >= lastTime, `message ${seen}: log time goes back`);
    previous = sequence;
    lastTime = message.logTime;
    ++seen;
  }
  expect(seen === count, `read ${seen} messages by the indexes`);
  await handle.close();
}

// Front to back, with the CRCs checked, every kind of record the file is meant to have.
function streamed() {
  const reader = new McapStreamReader({ validateCrcs: true });
  reader.append(fs.readFileSync(file));
  const kinds = new Map();
  for (let record; (record = reader.nextRecord()) !== undefined; )
    kinds.set(record.type, (kinds.get(record.type) ?? 0) + 1);
  expect(reader.done(), "the stream reader did not reach the end");
  expect(kinds.get("Message") === count, `${kinds.get("Message")} messages front to back`);
  for (const kind of ["Header", "Channel", "Metadata", "MessageIndex", "DataEnd", "Statistics", "ChunkIndex", "MetadataIndex", "SummaryOffset", "Footer"])
    expect(kinds.has(kind), `no ${kind} record`);
  return kinds;
}

indexed()
  .then(() => {
    const kinds = streamed();
    console.log(`mcapcheck: ${file}: ${count} messages on ${topic}; records ${JSON.stringify(Object.fromEntries(kinds))}`);
  })
  .catch((error) => fail(error.stack ?? String(error)));
