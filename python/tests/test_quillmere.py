"""The Python module as a data pipeline would use it, checked against the
quillmere tool on the same pictures."""
import os
import re
import struct
import subprocess
import threading
import zlib

import numpy as np
import pytest

import quillmere

TOOL = os.environ["QUILLMERE_TOOL"]
SAMPLE = os.environ["QUILLMERE_SAMPLE"]


def tool(*args):
    return subprocess.run([TOOL, *args], capture_output=True, text=True)


def gradient(height=30, width=40):
    y, x = np.mgrid[0:height, 0:width]
    return np.stack([x * 6, y * 8, (x + y) * 3], axis=-1).astype(np.uint8)


def write_ppm(path, picture):
    with open(path, "wb") as f:
        f.write(b"P6\n%d %d\n255\n" % (picture.shape[1], picture.shape[0]))
        f.write(np.ascontiguousarray(picture).tobytes())


def read_png(path):
    """8-bit RGB, not interlaced: what the tool writes."""
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    pos, idat = 8, b""
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", body[:10])
            assert depth == 8 and colour == 2
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    raw = zlib.decompress(idat)
    stride = width * 3
    rows, previous = [], bytearray(stride)
    for y in range(height):
        line = raw[y * (stride + 1):(y + 1) * (stride + 1)]
        kind, row = line[0], bytearray(line[1:])
        for i in range(stride):
            left = row[i - 3] if i >= 3 else 0
            up = previous[i]
            corner = previous[i - 3] if i >= 3 else 0
            if kind == 1:
                row[i] = (row[i] + left) & 255
            elif kind == 2:
                row[i] = (row[i] + up) & 255
            elif kind == 3:
                row[i] = (row[i] + (left + up) // 2) & 255
            elif kind == 4:
                p = left + up - corner
                pa, pb, pc = abs(p - left), abs(p - up), abs(p - corner)
                near = left if pa <= pb and pa <= pc else up if pb <= pc else corner
                row[i] = (row[i] + near) & 255
        rows.append(bytes(row))
        previous = row
    return np.frombuffer(b"".join(rows), dtype=np.uint8).reshape(height, width, 3)


def tool_render(tmp_path, picture, *options):
    source, result = tmp_path / "in.ppm", tmp_path / "tool.png"
    write_ppm(source, picture)
    run = tool("apply", *options, str(source), "-o", str(result))
    assert run.returncode == 0, run.stderr
    return read_png(result)


def test_presets_are_the_tools_in_the_tools_order():
    listed = [re.match(r"^(.*?)\s+shipped\s", line).group(1)
              for line in tool("presets").stdout.splitlines() if " shipped " in line]
    assert quillmere.presets()[:len(listed)] == listed
    assert "Noir" in listed and "Saloon" in listed


@pytest.mark.parametrize("preset,amount,remix", [("Noir", 1.0, None), ("Vintage", 0.7, None),
                                                 ("Saloon", 1.0, 0.3), ("Dreamy", 1.0, None)])
def test_an_array_renders_as_the_tool_renders_the_photo(tmp_path, preset, amount, remix):
    picture = gradient()
    options = ["--preset", preset, "--amount", str(round(amount * 100))]
    if remix is not None:
        options += ["--remix", str(remix)]
    expected = tool_render(tmp_path, picture, *options)
    result = quillmere.apply(picture, preset=preset, amount=amount, remix=remix)
    assert result.dtype == np.uint8 and result.shape == picture.shape
    assert np.array_equal(result, expected)
    assert np.array_equal(picture, gradient()), "the input must stay as it was"


def test_float_arrays_are_on_zero_to_one_and_agree_with_bytes():
    picture = gradient()
    as_bytes = quillmere.apply(picture, preset="Faded Film")
    as_floats = quillmere.apply(picture.astype(np.float32) / 255, preset="Faded Film")
    assert as_floats.dtype == np.float32
    assert np.abs(as_floats * 255 - as_bytes).max() <= 1.01


def test_strided_input_is_rendered_as_its_values():
    wide = gradient(30, 80)
    view = wide[:, ::2]
    assert np.array_equal(quillmere.apply(view, preset="Noir"),
                          quillmere.apply(np.ascontiguousarray(view), preset="Noir"))


def test_errors_are_python_exceptions_with_the_tools_words(tmp_path):
    with pytest.raises(quillmere.Error) as failure:
        quillmere.apply(gradient(), preset="No Such Look")
    stderr = tool("apply", "--preset", "No Such Look", SAMPLE, "-o", str(tmp_path / "x.jpg")).stderr
    assert "quillmere: " + str(failure.value) == stderr.strip()
    with pytest.raises(quillmere.Error, match="nothing to remix"):
        quillmere.apply(gradient(), preset="Noir", remix=0.5)
    with pytest.raises(TypeError):
        quillmere.apply(gradient().astype(np.int16), preset="Noir")
    with pytest.raises(ValueError):
        quillmere.apply(np.zeros((4, 4), np.uint8), preset="Noir")
    with pytest.raises(ValueError):
        quillmere.apply(gradient(), preset="Noir", amount=1.5)


def test_apply_file_writes_whole_files_by_the_tools_rules(tmp_path):
    picture = gradient()
    source = tmp_path / "photo.ppm"
    write_ppm(source, picture)
    result = tmp_path / "photo-noir.png"
    quillmere.apply_file(str(source), str(result), preset="Noir")
    assert np.array_equal(read_png(result), quillmere.apply(picture, preset="Noir"))

    with pytest.raises(quillmere.Error, match="would write over an input photo"):
        quillmere.apply_file(str(source), str(source), preset="Noir")
    with pytest.raises(quillmere.Error, match=str(tmp_path / "missing.jpg")):
        quillmere.apply_file(str(tmp_path / "missing.jpg"), str(tmp_path / "out.jpg"), preset="Noir")
    assert sorted(p.name for p in tmp_path.iterdir()) == ["photo-noir.png", "photo.ppm"]


def test_threads_render_at_once_and_each_gets_its_own_result():
    pictures = [gradient(60 + 7 * i, 50 + 5 * i) for i in range(4)]
    presets = ["Noir", "Vintage", "Saloon", "Punchy Landscape"]
    expected = [quillmere.apply(p, preset=n) for p, n in zip(pictures, presets)]
    results = [[] for _ in pictures]

    def work(i):
        for _ in range(3):
            results[i].append(quillmere.apply(pictures[i], preset=presets[i]))

    threads = [threading.Thread(target=work, args=(i,)) for i in range(len(pictures))]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for i, outputs in enumerate(results):
        assert len(outputs) == 3
        for output in outputs:
            assert np.array_equal(output, expected[i])
