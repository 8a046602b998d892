# A ROM whose PCI BIOS is busy until its lock port reads other than 0.
	.include "rom.inc"

	.set	PORT_CALLED, 0x80		# is written to once for each call
	.set	PORT_LOCK, 0x81

directory:
	directory_for pci_bios

pci_bios:
	out	PORT_CALLED, ax
	push	eax
	in	al, PORT_LOCK
	test	al, al
	pop	eax
	mov	ah, 0				# neither changes a flag
	jnz	1f
	mov	ah, 0x8A
	stc
1:	ret

	header	directory
	finish
