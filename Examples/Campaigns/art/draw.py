#!/usr/bin/python3
"""Draws the pictures of the sample campaigns and the library's icons again.

The pictures are part of the repository; this is needed only to change one. It wants the Debian packages python3-cairo,
python3-pil, fonts-wqy-microhei and fonts-ebgaramond.
"""

import pathlib

import gallery
import pictograms
import poster
import sale
import welcome

CAMPAIGNS = pathlib.Path(__file__).resolve().parent.parent
IMAGES = CAMPAIGNS / "images"
BUNDLE = CAMPAIGNS.parent.parent / "Resources" / "Kaleo.bundle"

if __name__ == "__main__":
    for folder in (IMAGES, BUNDLE):
        folder.mkdir(parents=True, exist_ok=True)
    welcome.draw(IMAGES / "welcome.png")
    sale.draw(IMAGES / "spring-sale.gif")
    pictograms.delivery(IMAGES / "delivery.png")
    pictograms.parcel(IMAGES / "parcel.png")
    pictograms.card(IMAGES / "vip-card.jpg")
    gallery.draw(IMAGES)
    poster.draw(IMAGES / "candlelight.jpg")
    pictograms.close_icon(BUNDLE / "close.png")
    pictograms.placeholder_icon(BUNDLE / "placeholder.png")
