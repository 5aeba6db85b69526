"""A chat endpoint that speaks HTTP/2 over TLS and nothing else: http2_server.py CERTIFICATE KEY.
Prints its port, then a line for each thing that happens to it."""
import json
import socket
import ssl
import sys
import threading

import h2.config
import h2.connection
import h2.errors
import h2.events


def say(text):
    print(text, flush=True)


def event(text):
    data = json.dumps({"choices": [{"delta": {"content": text}}]}, ensure_ascii=False)
    return f"data: {data}\n\n".encode()


def answer(http, stream, headers, body):
    path = headers[b":path"]
    if b"/refuse/" in path:
        http.send_headers(stream, [(":status", "429")], end_stream=True)
        return
    http.send_headers(stream, [(":status", "200")])
    if not json.loads(body).get("stream"):
        content = '{"action":"open_app","app":"A"}'
        reply = json.dumps({"choices": [{"message": {"content": content}}]})
        http.send_data(stream, reply.encode(), end_stream=True)
        return
    http.send_data(stream, event("over "))
    if b"/wait/" in path:
        return
    if b"/reset/" in path:
        http.ping(stream.to_bytes(8, "big"))  # answered once the text has been read
        return
    last = event("HTTP/2 日本")
    middle_of_a_character = last.index("本".encode()) + 1
    http.send_data(stream, last[:middle_of_a_character])
    http.send_data(stream, last[middle_of_a_character:] + b"data: [DONE]\n\n", end_stream=True)


def serve(plain, context):
    http = h2.connection.H2Connection(
        h2.config.H2Configuration(client_side=False, header_encoding=None))
    http.initiate_connection()
    try:
        connection = context.wrap_socket(plain, server_side=True)
        connection.sendall(http.data_to_send())
    except OSError:
        say("no request")
        return
    requests = {}
    while True:
        try:
            received = connection.recv(65536)
        except OSError:
            received = b""
        if not received:
            if not requests:
                say("no request")
            return
        for happened in http.receive_data(received):
            if isinstance(happened, h2.events.RequestReceived):
                headers = dict(happened.headers)
                requests[happened.stream_id] = (headers, bytearray())
                say(b" ".join(headers[name] for name in
                              (b":method", b":path", b"authorization")).decode())
            elif isinstance(happened, h2.events.DataReceived):
                requests[happened.stream_id][1].extend(happened.data)
                http.acknowledge_received_data(happened.flow_controlled_length,
                                               happened.stream_id)
            elif isinstance(happened, h2.events.StreamEnded):
                answer(http, happened.stream_id, *requests[happened.stream_id])
            elif isinstance(happened, h2.events.PingAckReceived):
                http.reset_stream(int.from_bytes(happened.ping_data, "big"),
                                  h2.errors.ErrorCodes.INTERNAL_ERROR)
            elif isinstance(happened, h2.events.StreamReset):
                say("cancelled")
        connection.sendall(http.data_to_send())


def main():
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(sys.argv[1], sys.argv[2])
    context.set_alpn_protocols(["h2"])
    listener = socket.create_server(("127.0.0.1", 0))
    say(listener.getsockname()[1])
    while True:
        connection, _ = listener.accept()
        threading.Thread(target=serve, args=(connection, context), daemon=True).start()


main()
