<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:output method="xml" encoding="UTF-8" indent="yes" standalone="yes" doctype-system="page.dtd" media-type="text/xml"/>
<xsl:template match="/"><a><b c="1"><d/></b><xsl:text disable-output-escaping="yes">&lt;raw/></xsl:text><e f="é&#10;𝄞">mixed <g/></e></a></xsl:template>
</xsl:stylesheet>
