"""Images resized, named as in imresize_bench.cpp: enlarged by OpenCV's INTER_CUBIC, and reduced by Pillow's bicubic
filter, which is widened as the library's is. OpenCV takes planes as channels; Pillow takes one plane of `float`."""

import cv2
import numpy as np
from PIL import Image
from timing import report

ROWS, COLS = 1920, 1080

for name, dtype in (("float", np.float32), ("double", np.float64)):
    for planes in (1, 3):
        image = (np.arange(ROWS * COLS * planes) % 127).astype(dtype).reshape(COLS, ROWS, planes)
        for scale in ("2", "1.5", "1"):
            size = (round(ROWS * float(scale)), round(COLS * float(scale)))
            out = np.empty((size[1], size[0], planes), dtype)
            report(f"Imresize<{name}>/{scale}x{scale}/{planes}",
                   lambda: cv2.resize(image, size, out, interpolation=cv2.INTER_CUBIC))

bands = [Image.fromarray((np.arange(ROWS * COLS) % 127).astype(np.float32).reshape(COLS, ROWS)) for _ in range(3)]
for scale in ("0.5", "0.3", "0.2", "0.1"):
    size = (round(ROWS * float(scale)), round(COLS * float(scale)))
    for planes in (1, 3):
        report(f"Imresize<float>/{scale}x{scale}/{planes}",
               lambda: [band.resize(size, Image.Resampling.BICUBIC) for band in bands[:planes]])
